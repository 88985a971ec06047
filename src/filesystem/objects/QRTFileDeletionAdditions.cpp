#include "filesystem/objects/QRTFileDeletionAdditions.h"

#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FlagChange.h"
#include "filesystem/objects/PathAsWritten.h"
#include "operations/NSProcessInfoQRTAdditions.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace qrt::QRTFileDeletionAdditions {
namespace {

constexpr std::int64_t firstSystemWithIntegrityProtection = 0x10B0;

constexpr std::uint32_t integrityFlags = file_flag::restricted | file_flag::noUnlink;

Error fileDeletionError(Code code, const std::string& path) {
  return {std::string(fileDeletionErrorDomain()),
          static_cast<std::int64_t>(code),
          {{std::string(filePathErrorKey), path}}};
}

bool isSIPRestricted(const Platform& platform, FileAt object, const std::string& path,
                     Outcome* refiningError) {
  if (NSProcessInfoQRTAdditions::operatingSystemVersionCode(platform) <
      firstSystemWithIntegrityProtection)
    return false;
  const auto status = platform.files.status(object, Links::stay);
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

Outcome refined(const Platform& platform, FileAt object, const std::string& path, Outcome error) {
  isSIPRestricted(platform, object, path, &error);
  return error;
}

/// The target is resolved once: its flags must not reach another object that the link is changed to
/// in the meantime.
PosixCode changeImmutableFlagOfTarget(FileSystem& files, bool flag, FileAt link,
                                      bool checkingExistence) {
  const auto target = files.hold(link, Links::follow);
  if (!target) {
    const auto code = target.error();
    if (isExhaustion(code)) return code;
    if (!checkingExistence) return PosixCode::success;
    if (code != PosixCode::notSupported) return PosixCode::noEntry;
    return flag ? code : PosixCode::success;
  }
  const auto status = target->status();
  return status ? changeFlags(*target, *status, file_flag::userImmutable, flag) : status.error();
}

PosixCode clearImmutableFlags(const Platform& platform, FileAt top, const FileStatus& seen) {
  constexpr TreeFlagChange clearing{
      .flags = file_flag::userImmutable,
      .value = false,
      .ofLinks = TreeFlagChange::OfLinks::leave,
      .onlyWith = file_flag::userImmutable | file_flag::refusingChanges,
      .onlyFileSystem = std::nullopt};
  const auto code = changeFlags(platform.files, top, seen, clearing.flags, clearing.value);
  if (code != PosixCode::success || !seen.isFolder()) return code;
  const auto failure = changeFlagsBelow(platform, top, clearing);
  return failure ? failure->code : PosixCode::success;
}

/// A missing object is not an error. Only these codes show that it is missing.
Outcome unlessMissing(PosixCode code) {
  const bool isMissing = code == PosixCode::noEntry || code == PosixCode::notDirectory ||
                         code == PosixCode::tooManyLinks || code == PosixCode::nameTooLong;
  return isMissing ? success : posixOutcome(code);
}

Outcome enforceSingleRemoval(const Platform& platform, FileAt object, const std::string& path) {
  auto& files = platform.files;
  const auto status = files.status(object, Links::stay);
  if (!status) return posixError(status.error());
  if (status->type() == file_type::whiteout) return fileDeletionError(Code::whiteout, path);
  if ((status->flags & file_flag::systemProtection) != 0)
    return fileDeletionError(Code::systemFlags, path);
  if ((status->flags & file_flag::userProtection) != 0) {
    const auto code = files.setFlags(object, *status, status->flags & ~file_flag::userProtection);
    if (code != PosixCode::success) return fileDeletionError(Code::flagsNotChangeable, path);
  }
  const auto code = status->isFolder() ? files.removeFolder(object) : files.removeFile(object);
  if (code != PosixCode::notPermitted) return posixOutcome(code);
  return refined(platform, object, path, posixError(code));
}

}  // namespace

Outcome enforceRemovalOfFileSystemObjectAtPath(const Platform& platform, const std::string& path,
                                               bool recursive) {
  return recursive ? enforceRecursiveRemovalOfFileSystemObjectAtPath(platform, path)
                   : enforceSingleRemovalOfFileSystemObjectAtPath(platform, path);
}

Outcome enforceSingleRemovalOfFileSystemObjectAtPath(const Platform& platform,
                                                     const std::string& path) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = platform.files.locate(path);
  if (!location) return posixError(location.error());
  const auto refusal = removalRefusal(platform.files, *location, path);
  if (refusal != PosixCode::success) return posixError(refusal);
  return enforceSingleRemoval(platform, location->at(), path);
}

Outcome enforceRecursiveRemovalOfFileSystemObjectAtPath(const Platform& platform,
                                                        const std::string& path) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = platform.files.locate(path);
  if (location && location->isItself()) {
    return posixError(removalRefusal(platform.files, *location, path));
  }
  if (location) return enforceRecursiveRemovalOfFileSystemObject(platform, location->at(), path);
  return unlessMissing(location.error());
}

Outcome enforceRecursiveRemovalOfFileSystemObject(const Platform& platform, FileAt object,
                                                  const std::string& path) {
  auto& files = platform.files;
  const auto status = files.status(object, Links::stay);
  if (!status) return unlessMissing(status.error());
  if (status->isLink()) {
    const auto target = files.status(object, Links::follow);
    if (!target) return unlessMissing(target.error());
  } else {
    const auto code = clearImmutableFlags(platform, object, *status);
    if (code != PosixCode::success) return refined(platform, object, path, posixError(code));
  }
  auto error = FileManager::removeItem(platform, object, *status, path);
  if (!error) return success;
  return refined(platform, object, path, std::move(error));
}

Outcome setImmutableFlag(FileSystem& files, bool flag, const std::string& path,
                         bool checkingExistenceOfLinkTarget) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  const auto location = files.locate(path);
  if (!location) return posixError(location.error());
  const auto object = location->at();
  const auto status = files.status(object, Links::stay);
  if (!status) return posixError(status.error());
  const auto code =
      status->isLink()
          ? changeImmutableFlagOfTarget(files, flag, object, checkingExistenceOfLinkTarget)
          : changeFlags(files, object, *status, file_flag::userImmutable, flag);
  return posixOutcome(code);
}

bool isSIPRestrictedObjectAtPath(const Platform& platform, const std::string& path,
                                 Outcome* refiningError) {
  const auto location = platform.files.locate(path);
  return location && isSIPRestricted(platform, location->at(), path, refiningError);
}

}  // namespace qrt::QRTFileDeletionAdditions
