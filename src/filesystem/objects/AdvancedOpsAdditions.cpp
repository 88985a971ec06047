#include "filesystem/objects/AdvancedOpsAdditions.h"

#include <optional>

#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/FinderInfo.h"
#include "filesystem/objects/ItemLinks.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "filesystem/objects/TrustedTarget.h"
#include "filesystem/walk/PathAsWritten.h"
#include "filesystem/walk/TreeWalk.h"

namespace qrt::AdvancedOpsAdditions {
namespace {

/// Gives everything in a tree the same immutable flag.
class ImmutableFlagChange : public TreeVisitor {
 public:
  /// With a file system to stay on, objects on others are passed over, and so are those that are
  /// gone, which are on none.
  ImmutableFlagChange(FileSystem& files, bool value, std::optional<std::uint32_t> onlyFileSystem)
      : files_(files), value_(value), onlyFileSystem_(onlyFileSystem) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    const auto status = files_.status(object.at(), Links::stay);
    if (!status && !onlyFileSystem_) return status.error();
    const bool isElsewhere =
        !status || static_cast<std::uint32_t>(status->device) != onlyFileSystem_;
    if (onlyFileSystem_ && isElsewhere) return Next::pass;
    const auto code = status->isLink() ? changeTarget(object.at())
                                       : QRTFileDeletionAdditions::setImmutableFlag(
                                             files_, value_, object.at(), *status);
    if (code != PosixCode::success) return code;
    return Next::enter;
  }

 private:
  PosixCode changeTarget(FileAt link) {
    const auto target = holdTrustedTarget(files_, link);
    if (!target) return isExhaustion(target.error()) ? target.error() : PosixCode::success;
    if (!*target) return PosixCode::success;
    const auto status = (*target)->status();
    if (!status) return status.error();
    return QRTFileDeletionAdditions::setImmutableFlag(value_, **target, *status);
  }

  FileSystem& files_;
  const bool value_;
  const std::optional<std::uint32_t> onlyFileSystem_;
};

Outcome setUserImmutableBelow(FileSystem& files, const HeldObject& top, bool value,
                              std::optional<std::uint32_t> onlyFileSystem) {
  const auto folder = files.openFolder(top);
  if (!folder) return isExhaustion(folder.error()) ? posixOutcome(folder.error()) : success;
  ImmutableFlagChange change(files, value, onlyFileSystem);
  const auto failure = walkTree(files, {*folder, "."}, change);
  return failure ? posixOutcome(failure->code) : success;
}

/// Reads, changes and writes the classic attributes.
template <class Change>
Outcome changeFinderInfo(const ItemContext& context, const HeldObject& item,
                         const std::string& path, Change change) {
  auto info = FinderInfo::read(context, item);
  if (!info) return fileWriteError(info.error(), path);
  change(*info);
  const auto code = info->write(context, item);
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

Outcome createLinkAtPath(const ItemContext& context, const std::string& path,
                         const std::string& toTarget, bool asHardLink) {
  if (asHardLink) return FileManager::linkItemAtPath(context, toTarget, path);
  return FileManager::createSymbolicLinkAtPath(context.files, path, toTarget);
}

Outcome setUserImmutableAtPath(FileSystem& files, const std::string& path, bool toValue,
                               bool recursive, bool stayOnFileSystem) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  if (const auto code = slashRefusal(files, path); code != PosixCode::success) {
    return posixError(code);
  }
  const auto target = FileManager::holdItemAtPath(files, path, Links::follow);
  const auto status = target ? target->status() : target.error();
  if (!status) return posixError(FileManager::reasonAtPath(files, path, status.error()));
  const auto code = QRTFileDeletionAdditions::setImmutableFlag(toValue, *target, *status);
  if (code != PosixCode::success) return posixError(code);
  if (!recursive || !status->isFolder()) return success;
  std::optional<std::uint32_t> onlyFileSystem;
  if (stayOnFileSystem) onlyFileSystem = fileSystemIDForPath(files, path);
  return setUserImmutableBelow(files, *target, toValue, onlyFileSystem);
}

Outcome setMacAttributesAtPath(const ItemContext& context, const std::string& path,
                               std::uint32_t typeCode, std::uint32_t creatorCode, bool hidden) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto item = FileManager::holdItemAtPath(context.files, path, Links::follow);
  if (!item) return fileWriteError(item.error(), path);
  auto outcome = changeFinderInfo(context, *item, path, [&](FinderInfo& info) {
    info.setTypeCode(typeCode);
    info.setCreatorCode(creatorCode);
  });
  if (outcome) return outcome;
  outcome =
      changeFinderInfo(context, *item, path, [&](FinderInfo& info) { info.setHidden(hidden); });
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
