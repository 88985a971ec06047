#include "platform/macos/files/ObjectHold.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

bool mayBeOpened(mode_t mode) {
  return S_ISREG(mode) || S_ISDIR(mode) || S_ISLNK(mode) || S_ISFIFO(mode);
}

}  // namespace

PosixResult<HeldObject> holdByDescriptor(FileAt object, Links links) {
  const bool stay = links == Links::stay;
  struct stat status;
  if (::fstatat(object.folder.descriptor(), object.name, &status, stay ? AT_SYMLINK_NOFOLLOW : 0) !=
      0) {
    return lastError();
  }
  if (!mayBeOpened(status.st_mode)) return PosixCode::notSupported;
  constexpr int quietly = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  FileDescriptor descriptor(
      ::openat(object.folder.descriptor(), object.name, quietly | (stay ? O_SYMLINK : 0)));
  if (!descriptor) return lastError();
  return HeldObject(std::move(descriptor));
}

}  // namespace qrt
