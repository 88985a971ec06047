#include "platform/HeldObject.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/files/CommonAttribute.h"
#include "platform/macos/files/ObjectStatus.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadOnlyMount.h"

namespace qrt {
namespace {

PosixCode setTimes(const HeldObject& object, const timespec* times) {
  const auto& name = object.name();
  if (name.empty()) return codeFor(::futimens(object.descriptor(), times));
  return codeFor(::utimensat(object.descriptor(), name.c_str(), times, AT_SYMLINK_NOFOLLOW));
}

}  // namespace

PosixResult<FileStatus> HeldObject::status() const {
  if (name_.empty()) return objectStatus(descriptor());
  return objectStatus(descriptor(), name_.c_str(), Links::stay);
}

/// What has no descriptor of its own is on the mount of its folder.
bool HeldObject::isReadOnly() const { return refusesChanges(descriptor()); }

PosixCode HeldObject::setOwner(std::uint32_t userID, std::uint32_t groupID) const {
  if (name_.empty()) return codeFor(::fchown(descriptor(), userID, groupID));
  return codeFor(::fchownat(descriptor(), name_.c_str(), userID, groupID, AT_SYMLINK_NOFOLLOW));
}

PosixCode HeldObject::setPermissions(std::uint32_t permissions) const {
  const auto mode = static_cast<mode_t>(permissions);
  if (name_.empty()) return codeFor(::fchmod(descriptor(), mode));
  return codeFor(::fchmodat(descriptor(), name_.c_str(), mode, AT_SYMLINK_NOFOLLOW));
}

/// Writes flags also when they do not change: only the call shows whether the file system
/// accepts changes.
PosixCode HeldObject::setFlags(const FileStatus& seen, std::uint32_t wanted) const {
  const auto flags = common_attribute::flagsToWrite(seen, wanted);
  const auto code = name_.empty() ? common_attribute::set(descriptor(), ATTR_CMN_FLAGS, flags)
                                  : common_attribute::set(descriptor(), name_.c_str(),
                                                          FSOPT_NOFOLLOW, ATTR_CMN_FLAGS, flags);
  return common_attribute::confirmed(code, seen, flags, [this] { return status(); });
}

PosixCode HeldObject::touch() const { return setTimes(*this, nullptr); }

PosixCode HeldObject::setTimesOf(const HeldObject& model) const {
  const auto status = nativeStatus(model);
  if (!status) return status.error();
  const timespec times[] = {status->st_atimespec, status->st_mtimespec};
  return setTimes(*this, times);
}

PosixCode HeldObject::setCreationTimeOf(const HeldObject& model) const {
  const auto status = nativeStatus(model);
  if (!status) return status.error();
  const auto time = status->st_birthtimespec;
  const auto code = name_.empty() ? common_attribute::set(descriptor(), ATTR_CMN_CRTIME, time)
                                  : common_attribute::set(descriptor(), name_.c_str(),
                                                          FSOPT_NOFOLLOW, ATTR_CMN_CRTIME, time);
  return code == PosixCode::notSupported ? PosixCode::success : code;
}

}  // namespace qrt
