#include "platform/linux/signing/LinuxCodeSigning.h"

#include <algorithm>

#include "base/Path.h"
#include "base/Text.h"
#include "platform/PropertyLists.h"
#include "platform/linux/files/LinuxFileSystem.h"
#include "platform/linux/files/ObjectHold.h"
#include "platform/linux/signing/CodeSignature.h"
#include "platform/linux/signing/MachO.h"
#include "platform/linux/signing/SealedResources.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

/// Memory for all signatures of an executable. A program of 1 GiB needs some 14 MiB.
constexpr std::size_t mostSignatureBytes = 32 << 20;

/// Code inside of code inside of code: bundles have two or three levels.
constexpr unsigned deepestCode = 8;

struct BundleForm {
  const char* base;
  /// From the base.
  const char* infoPlist;
  const char* executableFolder;
};

/// In the order in which they are tried.
constexpr BundleForm bundleForms[] = {
    {"Contents", "Info.plist", "MacOS/"},
    {"", "Resources/Info.plist", ""},
    {"", "Info.plist", ""},
};

std::optional<Data> readListBeneath(const Folder& folder, const char* path) {
  const auto file = openFileBeneath(folder, path);
  auto contents = file ? readFile(file->get(), maximumPropertyListBytes) : file.error();
  return contents ? std::optional(std::move(*contents)) : std::nullopt;
}

/// The folder of a framework's current version; none in other bundles. The link must hold a name,
/// not a path.
std::optional<std::string> currentVersion(const Folder& root) {
  const auto versions = openFolderBeneath(root, "Versions");
  if (!versions) return std::nullopt;
  const auto name = LinuxFileSystem().linkTarget({*versions, "Current"});
  return name && path::isComponent(*name) ? std::optional("Versions/" + *name) : std::nullopt;
}

std::optional<std::string> executableNamed(const Data& infoPlist) {
  const auto list = readPropertyList(infoPlist);
  const auto* info = list ? list->dictionary() : nullptr;
  const auto* name = info ? stringIn(*info, "CFBundleExecutable") : nullptr;
  return name && path::isComponent(*name) ? std::optional(*name) : std::nullopt;
}

/// None without an information file that names the executable.
std::optional<SignedBundle> bundleIn(Folder root, std::string path) {
  const auto version = currentVersion(root);
  for (const auto& form : bundleForms) {
    const std::string basePath = version ? *version : form.base;
    auto base = openFolderBeneath(root, basePath);
    if (!base) continue;
    auto infoPlist = readListBeneath(*base, form.infoPlist);
    if (!infoPlist) continue;
    const auto executable = executableNamed(*infoPlist);
    if (!executable) return std::nullopt;
    return SignedBundle{std::move(path),
                        std::move(root),
                        std::move(*base),
                        basePath,
                        form.executableFolder + *executable,
                        std::move(*infoPlist)};
  }
  return std::nullopt;
}

struct SignedProgram {
  /// Without its signature.
  FileRange code;
  CodeSignature signature;
};

std::optional<SignedProgram> readProgram(int file, FileRange place, std::size_t& bytesLeft) {
  const auto head = readRange(file, {place.offset, std::min(place.size, machOHeadSize)});
  const auto range = head ? machOSignature(*head, place.size) : std::nullopt;
  if (!range || range->size > bytesLeft) return std::nullopt;
  bytesLeft -= range->size;
  auto bytes = readRange(file, {place.offset + range->offset, range->size});
  auto signature = bytes ? CodeSignature::read(std::move(*bytes)) : std::nullopt;
  if (!signature) return std::nullopt;
  return SignedProgram{{place.offset, range->offset}, std::move(*signature)};
}

/// All programs in an executable; empty when one of them has no signature.
std::vector<SignedProgram> readPrograms(int file) {
  const auto size = sizeOfFile(file);
  const auto head = readRange(file, {0, std::min(size, machOHeadSize)});
  if (!head) return {};
  std::vector<SignedProgram> programs;
  auto bytesLeft = mostSignatureBytes;
  for (const auto& place : machOPrograms(*head, size)) {
    auto program = readProgram(file, place, bytesLeft);
    if (!program) return {};
    programs.push_back(std::move(*program));
  }
  return programs;
}

/// Holds its files open and its signatures in memory from the beginning, so that all answers are
/// about the same code.
class SignedCode final : public StaticCode {
 public:
  /// Null when the object is neither a bundle nor a file. `path` is only for error messages.
  static std::unique_ptr<SignedCode> open(FileAt object, Links links, std::string path);

  std::optional<SigningInformation> signingInformation() override {
    return programs_.empty() ? std::nullopt
                             : std::optional(programs_.front().signature.information());
  }

  Outcome checkValidity() override {
    SigningBudget budget;
    return check(budget, 0);
  }

 private:
  SignedCode(std::optional<SignedBundle> bundle, FileDescriptor executable)
      : bundle_(std::move(bundle)),
        executable_(std::move(executable)),
        programs_(readPrograms(executable_.get())) {}

  Outcome check(SigningBudget& budget, unsigned depth) const;
  Outcome checkResources(const Data& list, SigningBudget& budget, unsigned depth) const;
  std::optional<Data> resourceList() const;
  bool hasOneSigner() const;
  bool isNamedBy(const Data& directoryHash) const;

  std::optional<SignedBundle> bundle_;
  FileDescriptor executable_;
  std::vector<SignedProgram> programs_;
};

std::unique_ptr<SignedCode> SignedCode::open(FileAt object, Links links, std::string path) {
  const auto held = holdObject(object, links);
  const auto status = held ? held->status() : held.error();
  if (!status) return nullptr;
  if (!status->isFolder() && status->type() != file_type::regular) return nullptr;
  auto executable = openForReading(*held);
  if (!executable) return nullptr;
  std::optional<SignedBundle> bundle;
  if (status->isFolder()) {
    bundle = bundleIn(Folder(std::move(*executable)), std::move(path));
    if (!bundle) return nullptr;
    executable = openFileBeneath(bundle->base, bundle->executablePath);
    if (!executable) return nullptr;
  }
  return std::unique_ptr<SignedCode>(new SignedCode(std::move(bundle), std::move(*executable)));
}

/// The signer signed the code directories, these seal the pages and the lists, the list of
/// resources seals the other files. It is checked in that order: no seal or rule counts before it
/// is authentic.
Outcome SignedCode::check(SigningBudget& budget, unsigned depth) const {
  using namespace code_signing_status;
  if (programs_.empty()) return osStatusError(notSigned);
  if (!hasOneSigner()) return osStatusError(signatureFailed);
  const auto list = resourceList();
  const CodeSignature::Parts parts{bundle_ ? &bundle_->infoPlist : nullptr,
                                   list ? &*list : nullptr};
  for (const auto& [code, signature] : programs_) {
    const auto status = signature.check(executable_.get(), code, parts, budget);
    if (status != 0) return osStatusError(status);
  }
  if (!bundle_) return success;
  return list ? checkResources(*list, budget, depth) : Outcome(osStatusError(resourcesInvalid));
}

Outcome SignedCode::checkResources(const Data& list, SigningBudget& budget, unsigned depth) const {
  return checkSealedResources(*bundle_, list, budget, [&](FileAt object, const Data& hash) {
    if (depth == deepestCode) return false;
    const auto code = open(object, Links::stay, "");
    return code && code->isNamedBy(hash) && code->check(budget, depth + 1) == success;
  });
}

std::optional<Data> SignedCode::resourceList() const {
  if (!bundle_) return std::nullopt;
  auto list = readListBeneath(bundle_->base, "_CodeSignature/CodeResources");
  return list ? list : readListBeneath(bundle_->base, "CodeResources");
}

/// Otherwise the first signer would vouch for another signer's program. Identifiers may differ.
bool SignedCode::hasOneSigner() const {
  const auto& first = programs_.front().signature.information();
  return std::all_of(programs_.begin(), programs_.end(), [&](const SignedProgram& each) {
    const auto& information = each.signature.information();
    return information.certificates == first.certificates &&
           information.teamIdentifier == first.teamIdentifier;
  });
}

bool SignedCode::isNamedBy(const Data& directoryHash) const {
  return std::any_of(programs_.begin(), programs_.end(), [&](const SignedProgram& each) {
    return each.signature.isNamedBy(directoryHash);
  });
}

}  // namespace

std::unique_ptr<StaticCode> LinuxCodeSigning::staticCode(const std::string& path) {
  if (holdsZeroByte(path)) return nullptr;
  return SignedCode::open(path.c_str(), Links::follow, path);
}

}  // namespace qrt
