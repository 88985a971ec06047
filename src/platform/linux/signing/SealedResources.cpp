#include "platform/linux/signing/SealedResources.h"

#include <algorithm>

#include "base/Path.h"
#include "platform/CodeSigning.h"
#include "platform/linux/files/LinuxFileSystem.h"
#include "platform/linux/signing/SealedFile.h"
#include "platform/linux/signing/SigningBudget.h"

namespace qrt {
namespace {

/// More need not be told. Never one: a caller may tolerate a single addition.
constexpr std::size_t mostDefects = 16;

/// Deeper than paths of the home platform can be.
constexpr std::size_t deepestFolder = 256;

/// The signature's own files and a receipt that a store adds.
constexpr std::string_view neverSealed[] = {"_CodeSignature", "CodeResources", "_MASReceipt"};

constexpr std::string_view versionsFolder = "Versions";

/// Whether a link in a folder `depth` levels below the bundle leads to a place in the bundle. Names
/// may stand for links, so what goes up again behind a name could lead anywhere.
bool staysInside(std::string_view target, std::size_t depth) {
  if (target.empty() || target.front() == '/') return false;
  bool isBehindName = false;
  while (!target.empty()) {
    const auto end = std::min(target.find('/'), target.size());
    const auto name = target.substr(0, end);
    target.remove_prefix(std::min(end + 1, target.size()));
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      isBehindName = true;
    } else if (isBehindName || depth-- == 0) {
      return false;
    }
  }
  return true;
}

std::uint32_t typeOf(FileAt object, std::uint32_t told) {
  if (told != 0) return told;
  const auto status = LinuxFileSystem().status(object, Links::stay);
  return status ? status->type() : 0;
}

}  // namespace

SealedResources::SealedResources(const SignedBundle& bundle, std::string bundlePath,
                                 const ResourceEnvelope& envelope, SigningBudget& budget,
                                 CodeCheck codeCheck)
    : bundle_(bundle),
      bundlePath_(std::move(bundlePath)),
      envelope_(envelope),
      budget_(budget),
      codeCheck_(std::move(codeCheck)) {}

Outcome SealedResources::check() {
  checkAroundBase();
  auto base = openFolderBeneath(bundle_.base, "");
  if (base) {
    checkFolder(*base, "", 0);
  } else {
    report(resourceAlteredKey, bundle_.basePath);
  }
  checkMissing();
  if (defects_.empty()) return success;
  auto error = osStatusError(code_signing_status::badResource);
  for (const auto& [key, paths] : defects_) error.userInfo.emplace(key, paths);
  return error;
}

void SealedResources::checkAroundBase() {
  std::string_view rest = bundle_.basePath;
  std::string path;
  while (!rest.empty()) {
    const auto end = std::min(rest.find('/'), rest.size());
    const auto next = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    auto folder = openFolderBeneath(bundle_.root, path);
    if (!folder) return report(resourceAlteredKey, path);
    checkBeside(*folder, path, next);
    path = path::appending(path, next);
  }
}

/// Nothing is there but what leads to the base, files that the rules leave out, and a framework's
/// links to its current version.
void SealedResources::checkBeside(Folder& folder, const std::string& path, std::string_view next) {
  const bool isFramework = bundle_.basePath.starts_with(versionsFolder);
  while (!isKnownEnough()) {
    const auto entry = folder.next();
    if (entry && !*entry) return;
    if (!entry || !SigningBudget::take(budget_.objects, 1)) {
      return report(resourceAlteredKey, path);
    }
    const std::string name = (*entry)->name;
    const auto entryPath = path::appending(path, name);
    const FileAt object(folder, name.c_str());
    const auto type = typeOf(object, (*entry)->type);
    const bool isFine =
        name == next ||
        (type == file_type::regular && envelope_.allows(name, budget_.patternSteps)) ||
        (type == file_type::link && isFramework && linkMatches(object, entryPath, ""));
    if (!isFine) report(resourceAddedKey, entryPath);
  }
}

void SealedResources::checkFolder(Folder& folder, const std::string& path, std::size_t depth) {
  while (!isKnownEnough()) {
    const auto entry = folder.next();
    const bool isReadable = entry && depth <= deepestFolder;
    if (isReadable && !*entry) return;
    if (!isReadable || !SigningBudget::take(budget_.objects, 1)) {
      return report(resourceAlteredKey, inBundle(path));
    }
    const std::string name = (*entry)->name;
    const auto entryPath = path::appending(path, name);
    if (isPartOfSignature(entryPath)) continue;
    const FileAt object(folder, name.c_str());
    const auto type = typeOf(object, (*entry)->type);
    const auto seal = envelope_.seals().find(entryPath);
    if (seal == envelope_.seals().end()) {
      checkUnsealed(object, entryPath, type, depth);
    } else {
      checkSealed(object, entryPath, type, seal->second);
    }
  }
}

bool SealedResources::isPartOfSignature(std::string_view path) const {
  return path == bundle_.executablePath ||
         std::find(std::begin(neverSealed), std::end(neverSealed), path) != std::end(neverSealed);
}

void SealedResources::checkSealed(FileAt object, const std::string& path, std::uint32_t type,
                                  const ResourceSeal& seal) {
  found_.insert(path);
  bool matches = false;
  switch (seal.kind) {
    case ResourceSeal::Kind::file:
      matches = type == file_type::regular && fileMatches(object, seal);
      break;
    case ResourceSeal::Kind::link:
      matches = type == file_type::link && linkMatches(object, inBundle(path), seal.target);
      break;
    case ResourceSeal::Kind::code:
      matches = codeCheck_(object, seal.digest);
      break;
  }
  if (!matches) report(resourceAlteredKey, inBundle(path));
}

void SealedResources::checkUnsealed(FileAt object, const std::string& path, std::uint32_t type,
                                    std::size_t depth) {
  if (type != file_type::folder) {
    if (!envelope_.allows(path, budget_.patternSteps)) report(resourceAddedKey, inBundle(path));
    return;
  }
  auto folder = LinuxFileSystem().openFolder(object, Links::stay);
  if (!folder) return report(resourceAlteredKey, inBundle(path));
  checkFolder(*folder, path, depth + 1);
}

void SealedResources::checkMissing() {
  for (const auto& [path, seal] : envelope_.seals()) {
    if (isKnownEnough()) return;
    if (!seal.isOptional && !found_.contains(path)) report(resourceMissingKey, inBundle(path));
  }
}

bool SealedResources::fileMatches(FileAt object, const ResourceSeal& seal) {
  const auto file = openFileBeneath(object.folder, object.name);
  if (!file) return false;
  const FileRange whole{0, sizeOfFile(file->get())};
  return digestOfRange(file->get(), whole, seal.digestKind, budget_) == seal.digest;
}

/// Any target inside will do when none is given.
bool SealedResources::linkMatches(FileAt object, const std::string& pathInBundle,
                                  const std::string& target) {
  const auto found = LinuxFileSystem().linkTarget(object);
  const auto depth =
      static_cast<std::size_t>(std::count(pathInBundle.begin(), pathInBundle.end(), '/'));
  return found && (target.empty() || *found == target) && staysInside(*found, depth);
}

std::string SealedResources::inBundle(const std::string& path) const {
  return path::appending(bundle_.basePath, path);
}

void SealedResources::report(std::string_view key, const std::string& pathInBundle) {
  defects_[key].emplace_back(path::appending(bundlePath_, pathInBundle));
}

bool SealedResources::isKnownEnough() const {
  std::size_t count = 0;
  for (const auto& [key, paths] : defects_) count += paths.size();
  return count >= mostDefects;
}

}  // namespace qrt
