#include "platform/HeldObject.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/InodeFlags.h"
#include "platform/linux/ObjectPermissions.h"
#include "platform/linux/ObjectStatus.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadOnlyMount.h"

namespace qrt {

PosixResult<FileStatus> HeldObject::status() const {
  return objectStatus(descriptor(), "", AT_EMPTY_PATH);
}

PosixCode HeldObject::setOwner(std::uint32_t userID, std::uint32_t groupID) const {
  const int result = ::fchownat(descriptor(), "", userID, groupID, AT_EMPTY_PATH);
  return result == 0 ? PosixCode::success : lastError();
}

PosixCode HeldObject::setFlags(const FileStatus& current, std::uint32_t wanted) const {
  if (refusesChanges(descriptor())) return PosixCode::readOnlyFileSystem;
  if (wanted == current.flags) return PosixCode::success;
  if (!inode_flags::canBe(wanted, current.type())) return PosixCode::notSupported;
  return inode_flags::write(descriptor(), wanted);
}

PosixCode HeldObject::setPermissions(std::uint32_t permissions) const {
  return object_permissions::write(descriptor(), permissions);
}

}  // namespace qrt
