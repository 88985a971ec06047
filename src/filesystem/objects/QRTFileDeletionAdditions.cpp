#include "filesystem/objects/QRTFileDeletionAdditions.h"

#include "filesystem/objects/FileManager.h"
#include "filesystem/walk/PathAsWritten.h"
#include "filesystem/walk/TreeWalk.h"

namespace qrt::QRTFileDeletionAdditions {
namespace {

constexpr std::int64_t firstSystemWithIntegrityProtection = 0x10B0;

constexpr std::uint32_t userFlags = file_flag::userImmutable | file_flag::userAppendOnly;
constexpr std::uint32_t systemFlags = file_flag::systemImmutable | file_flag::systemAppendOnly;
constexpr std::uint32_t integrityFlags = file_flag::restricted | file_flag::noUnlink;

Error fileDeletionError(Code code, const std::string& path) {
  return {std::string(fileDeletionErrorDomain()),
          static_cast<std::int64_t>(code),
          {{std::string(filePathErrorKey), path}}};
}

bool isSIPRestricted(const DeletionContext& context, FileAt object, const std::string& path,
                     Outcome* refiningError) {
  if (context.operatingSystemVersionCode < firstSystemWithIntegrityProtection) return false;
  const auto status = context.files.status(object, Links::stay);
  if (!status || (status->flags & integrityFlags) == 0) return false;
  if (refiningError != nullptr) {
    auto refined = fileDeletionError(Code::systemProtected, path);
    if (*refiningError) {
      refined.userInfo.emplace(underlyingErrorKey, std::move(**refiningError));
    }
    *refiningError = std::move(refined);
  }
  return true;
}

Outcome refined(const DeletionContext& context, FileAt object, const std::string& path,
                Outcome error) {
  isSIPRestricted(context, object, path, &error);
  return error;
}

/// What an object's flags are to be.
std::uint32_t flagsFor(bool flag, const FileStatus& status) {
  return flag ? status.flags | file_flag::userImmutable : status.flags & ~file_flag::userImmutable;
}

/// An object that cannot have the flag is without it.
PosixCode unlessClear(bool flag, PosixCode code) {
  return !flag && code == PosixCode::notSupported ? PosixCode::success : code;
}

/// Never of the target of a link that has taken the object's place since.
PosixCode changeImmutableFlag(FileSystem& files, bool flag, FileAt object, const FileStatus& seen) {
  return unlessClear(flag, files.setFlags(object, seen, flagsFor(flag, seen)));
}

/// Of a link's target, which is found once: the flags of one must not be given to another that the
/// link is made to lead to meanwhile.
PosixCode changeImmutableFlagOfTarget(FileSystem& files, bool flag, FileAt link,
                                      bool checkingExistence) {
  const auto target = files.hold(link, Links::follow);
  if (!target) {
    const auto code = target.error();
    if (isExhaustion(code)) return code;
    if (!checkingExistence) return PosixCode::success;
    return code == PosixCode::notSupported ? unlessClear(flag, code) : PosixCode::noEntry;
  }
  const auto status = target->status();
  return status ? setImmutableFlag(flag, *target, *status) : status.error();
}

/// Clears the user immutable flag of everything but links.
class ImmutableFlagClearing : public TreeVisitor {
 public:
  explicit ImmutableFlagClearing(FileSystem& files) : files_(files) {}

  PosixResult<Next> visit(const TreeObject& object) override {
    const auto code = object.isLink() ? PosixCode::success : clear(object.at());
    if (code != PosixCode::success && code != PosixCode::noEntry) return code;
    return Next::enter;
  }

 private:
  PosixCode clear(FileAt object) {
    const auto status = files_.status(object, Links::stay);
    if (!status) return status.error();
    if (status->isLink()) return PosixCode::success;
    // Nothing to write, and the mount was asked about at its root: it accepts changes.
    constexpr auto asking = file_flag::userImmutable | file_flag::refusingChanges;
    if ((status->flags & asking) == 0 && !status->isMountRoot) return PosixCode::success;
    return changeImmutableFlag(files_, false, object, *status);
  }

  FileSystem& files_;
};

PosixCode clearImmutableFlags(FileSystem& files, FileAt top, const FileStatus& seen) {
  const auto code = changeImmutableFlag(files, false, top, seen);
  if (code != PosixCode::success || !seen.isFolder()) return code;
  ImmutableFlagClearing clearing(files);
  const auto failure = walkTree(files, top, clearing);
  return failure ? failure->code : PosixCode::success;
}

/// What cannot be looked at counts as missing, which is no error. A want of descriptors or memory
/// says nothing about it.
Outcome unlessMissing(PosixCode code) { return isExhaustion(code) ? posixOutcome(code) : success; }

Outcome enforceSingleRemoval(const DeletionContext& context, FileAt object,
                             const std::string& path) {
  auto& files = context.files;
  const auto status = files.status(object, Links::stay);
  if (!status) return posixError(status.error());
  if (status->type() == file_type::whiteout) return fileDeletionError(Code::whiteout, path);
  if ((status->flags & systemFlags) != 0) return fileDeletionError(Code::systemFlags, path);
  if ((status->flags & userFlags) != 0) {
    const auto code = files.setFlags(object, *status, status->flags & ~userFlags);
    if (code != PosixCode::success) return fileDeletionError(Code::flagsNotChangeable, path);
  }
  const auto code = status->isFolder() ? files.removeFolder(object) : files.removeFile(object);
  if (code != PosixCode::notPermitted) return posixOutcome(code);
  return refined(context, object, path, posixError(code));
}

}  // namespace

Outcome enforceRemovalOfFileSystemObjectAtPath(const DeletionContext& context,
                                               const std::string& path, bool recursive) {
  return recursive ? enforceRecursiveRemovalOfFileSystemObjectAtPath(context, path)
                   : enforceSingleRemovalOfFileSystemObjectAtPath(context, path);
}

Outcome enforceSingleRemovalOfFileSystemObjectAtPath(const DeletionContext& context,
                                                     const std::string& path) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = context.files.locate(path);
  if (!location) return posixError(location.error());
  const auto refusal = removalRefusal(context.files, *location, path);
  if (refusal != PosixCode::success) return posixError(refusal);
  return enforceSingleRemoval(context, location->at(), path);
}

Outcome enforceRecursiveRemovalOfFileSystemObjectAtPath(const DeletionContext& context,
                                                        const std::string& path) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = context.files.locate(path);
  if (location && location->isItself()) {
    return posixError(removalRefusal(context.files, *location, path));
  }
  if (location) return enforceRecursiveRemovalOfFileSystemObject(context, location->at(), path);
  return unlessMissing(location.error());
}

Outcome enforceRecursiveRemovalOfFileSystemObject(const DeletionContext& context, FileAt object,
                                                  const std::string& path) {
  auto& files = context.files;
  const auto status = files.status(object, Links::stay);
  if (!status) return unlessMissing(status.error());
  if (status->isLink()) {
    const auto target = files.status(object, Links::follow);
    if (!target) return unlessMissing(target.error());
  } else {
    const auto code = clearImmutableFlags(files, object, *status);
    if (code != PosixCode::success) return refined(context, object, path, posixError(code));
  }
  auto error = FileManager::removeItem(files, object, path);
  if (!error) return success;
  return refined(context, object, path, std::move(error));
}

Outcome setImmutableFlag(FileSystem& files, bool flag, const std::string& path,
                         bool checkingExistenceOfLinkTarget) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = files.locate(path);
  if (!location) return posixError(location.error());
  return posixOutcome(setImmutableFlag(files, flag, location->at(), checkingExistenceOfLinkTarget));
}

PosixCode setImmutableFlag(FileSystem& files, bool flag, FileAt object,
                           bool checkingExistenceOfLinkTarget) {
  const auto status = files.status(object, Links::stay);
  if (!status) return status.error();
  if (!status->isLink()) return changeImmutableFlag(files, flag, object, *status);
  return changeImmutableFlagOfTarget(files, flag, object, checkingExistenceOfLinkTarget);
}

PosixCode setImmutableFlag(FileSystem& files, bool flag, FileAt object, const FileStatus& seen) {
  return changeImmutableFlag(files, flag, object, seen);
}

PosixCode setImmutableFlag(bool flag, const HeldObject& object, const FileStatus& seen) {
  return unlessClear(flag, object.setFlags(seen, flagsFor(flag, seen)));
}

bool isSIPRestrictedObjectAtPath(const DeletionContext& context, const std::string& path,
                                 Outcome* refiningError) {
  const auto location = context.files.locate(path);
  return location && isSIPRestricted(context, location->at(), path, refiningError);
}

}  // namespace qrt::QRTFileDeletionAdditions
