#include "platform/HeldObject.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/files/InodeFlags.h"
#include "platform/linux/files/ObjectPermissions.h"
#include "platform/linux/files/ObjectStatus.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadOnlyMount.h"

namespace qrt {
namespace {

PosixCode setTimes(const HeldObject& object, const timespec* times) {
  return codeFor(::utimensat(object.descriptor(), "", times, AT_EMPTY_PATH));
}

}  // namespace

PosixResult<FileStatus> HeldObject::status() const {
  return objectStatus(descriptor(), "", AT_EMPTY_PATH);
}

bool HeldObject::isReadOnly() const { return refusesChanges(descriptor()); }

PosixCode HeldObject::setOwner(std::uint32_t userID, std::uint32_t groupID) const {
  return codeFor(::fchownat(descriptor(), "", userID, groupID, AT_EMPTY_PATH));
}

PosixCode HeldObject::setFlags(const FileStatus& seen, std::uint32_t wanted) const {
  if (isReadOnly()) return PosixCode::readOnlyFileSystem;
  if (wanted == seen.flags) return PosixCode::success;
  if (!inode_flags::canBe(wanted, seen.type())) return PosixCode::notSupported;
  return inode_flags::write(*this, {seen.flags, wanted});
}

PosixCode HeldObject::setPermissions(std::uint32_t permissions) const {
  return object_permissions::write(descriptor(), permissions);
}

PosixCode HeldObject::touch() const { return setTimes(*this, nullptr); }

PosixCode HeldObject::setTimesOf(const HeldObject& model) const {
  struct stat status;
  if (::fstat(model.descriptor(), &status) != 0) return lastError();
  const timespec times[] = {status.st_atim, status.st_mtim};
  return setTimes(*this, times);
}

/// No file system of Linux can set it.
PosixCode HeldObject::setCreationTimeOf(const HeldObject&) const { return PosixCode::success; }

}  // namespace qrt
