#include "platform/linux/files/OwnFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/posix/NativeError.h"

namespace qrt {

PosixResult<FileDescriptor> openOwnFolder(int parent, const char* name, uid_t owner) {
  FileDescriptor folder(openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!folder) return lastError();
  struct stat status;
  if (fstat(folder.get(), &status) != 0) return lastError();
  if (status.st_uid != owner) return PosixCode::permissionDenied;
  return folder;
}

PosixResult<FileDescriptor> makeOwnFolder(int parent, const char* name, uid_t owner) {
  constexpr mode_t readableByAll = 0755;
  const bool isNew = mkdirat(parent, name, readableByAll) == 0;
  if (!isNew && errno != EEXIST) return lastError();
  auto folder = openOwnFolder(parent, name, owner);
  // The process's mask may have taken something away.
  if (isNew && folder && fchmod(folder->get(), readableByAll) != 0) return lastError();
  return folder;
}

}  // namespace qrt
