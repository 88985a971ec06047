#include "platform/HeldObject.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/macos/CommonAttribute.h"
#include "platform/macos/ObjectStatus.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

PosixCode codeFor(int result) { return result == 0 ? PosixCode::success : lastError(); }

}  // namespace

PosixResult<FileStatus> HeldObject::status() const {
  if (name_.empty()) return objectStatus(descriptor());
  return objectStatus(descriptor(), name_.c_str(), Links::stay);
}

PosixCode HeldObject::setOwner(std::uint32_t userID, std::uint32_t groupID) const {
  if (name_.empty()) return codeFor(::fchown(descriptor(), userID, groupID));
  return codeFor(::fchownat(descriptor(), name_.c_str(), userID, groupID, AT_SYMLINK_NOFOLLOW));
}

PosixCode HeldObject::setPermissions(std::uint32_t permissions) const {
  const auto mode = static_cast<mode_t>(permissions);
  if (name_.empty()) return codeFor(::fchmod(descriptor(), mode));
  return codeFor(::fchmodat(descriptor(), name_.c_str(), mode, AT_SYMLINK_NOFOLLOW));
}

/// Flags that are as wanted are written as well: the call alone tells whether the file system
/// accepts changes.
PosixCode HeldObject::setFlags(const FileStatus& current, std::uint32_t wanted) const {
  const auto flags = common_attribute::flagsToWrite(current, wanted);
  const auto code = name_.empty() ? common_attribute::set(descriptor(), ATTR_CMN_FLAGS, flags)
                                  : common_attribute::set(descriptor(), name_.c_str(),
                                                          FSOPT_NOFOLLOW, ATTR_CMN_FLAGS, flags);
  return common_attribute::confirmed(code, current, flags, [this] { return status(); });
}

}  // namespace qrt
