#include "filesystem/objects/AdvancedOpsAdditions.h"

#include <optional>

#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/FinderInfo.h"
#include "filesystem/objects/FlagChange.h"
#include "filesystem/objects/PathAsWritten.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt::AdvancedOpsAdditions {
namespace {

Outcome setUserImmutableBelow(const Platform& platform, const HeldObject& top, bool value,
                              std::optional<std::uint32_t> onlyFileSystem) {
  const auto folder = platform.files.openFolder(top);
  if (!folder) return isExhaustion(folder.error()) ? posixOutcome(folder.error()) : success;
  const TreeFlagChange change{.flags = file_flag::userImmutable,
                              .value = value,
                              .ofLinks = TreeFlagChange::OfLinks::changeTrustedTarget,
                              .onlyWith = std::nullopt,
                              .onlyFileSystem = onlyFileSystem};
  const auto failure = changeFlagsBelow(platform, {*folder, "."}, change);
  return failure ? posixOutcome(failure->code) : success;
}

/// Reads, changes and writes the classic attributes.
template <class Change>
Outcome changeFinderInfo(ExtendedAttributes& attributes, const HeldObject& item,
                         const std::string& path, Change change) {
  auto info = FinderInfo::read(attributes, item);
  if (!info) return fileWriteError(info.error(), path);
  change(*info);
  const auto code = info->write(attributes, item);
  if (code == PosixCode::success) return success;
  return fileWriteError(code, path);
}

/// File systems that know hidden objects keep a flag for it; others have the record alone.
Outcome changeHiddenFlag(const HeldObject& item, const std::string& path, bool hidden) {
  const auto status = item.status();
  if (!status) return fileWriteError(status.error(), path);
  const auto wanted =
      hidden ? status->flags | file_flag::hidden : status->flags & ~file_flag::hidden;
  const auto code = item.setFlags(*status, wanted);
  if (code == PosixCode::success || code == PosixCode::notSupported) return success;
  return fileWriteError(code, path);
}

}  // namespace

Outcome createLinkAtPath(const Platform& platform, const std::string& path,
                         const std::string& toTarget, bool asHardLink) {
  if (asHardLink) return FileManager::linkItemAtPath(platform, toTarget, path);
  return FileManager::createSymbolicLinkAtPath(platform.files, path, toTarget);
}

Outcome setUserImmutableAtPath(const Platform& platform, const std::string& path, bool toValue,
                               bool recursive, bool stayOnFileSystem) {
  auto& files = platform.files;
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  if (const auto code = slashRefusal(files, path); code != PosixCode::success) {
    return posixError(code);
  }
  const auto target = FileManager::holdItemAtPath(files, path, Links::follow);
  const auto status = target ? target->status() : target.error();
  if (!status) return posixError(FileManager::reasonAtPath(files, path, status.error()));
  const auto code = changeFlags(*target, *status, file_flag::userImmutable, toValue);
  if (code != PosixCode::success) return posixError(code);
  if (!recursive || !status->isFolder()) return success;
  std::optional<std::uint32_t> onlyFileSystem;
  if (stayOnFileSystem) {
    onlyFileSystem = fileSystemIDForPath(files, path);
    // No object would be on it.
    if (*onlyFileSystem == noFileSystemID) return posixError(PosixCode::inputOutput);
  }
  return setUserImmutableBelow(platform, *target, toValue, onlyFileSystem);
}

Outcome setMacAttributesAtPath(const Platform& platform, const std::string& path,
                               std::uint32_t typeCode, std::uint32_t creatorCode, bool hidden) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto item = FileManager::holdItemAtPath(platform.files, path, Links::follow);
  if (!item) return fileWriteError(item.error(), path);
  auto outcome = changeFinderInfo(platform.extendedAttributes, *item, path, [&](FinderInfo& info) {
    info.setTypeCode(typeCode);
    info.setCreatorCode(creatorCode);
  });
  if (outcome) return outcome;
  outcome = changeFinderInfo(platform.extendedAttributes, *item, path,
                             [&](FinderInfo& info) { info.setHidden(hidden); });
  if (outcome) return outcome;
  return changeHiddenFlag(*item, path, hidden);
}

std::uint32_t fileSystemIDForPath(FileSystem& files, const std::string& path) {
  const auto location = files.locate(path);
  if (!location) return noFileSystemID;
  // "link/" is the folder that the link leads to.
  const auto links = location->meansFolder ? Links::follow : Links::stay;
  const auto status = files.status(location->at(), links);
  return status ? static_cast<std::uint32_t>(status->device) : noFileSystemID;
}

}  // namespace qrt::AdvancedOpsAdditions
