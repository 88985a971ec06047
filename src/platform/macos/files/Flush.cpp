#include "platform/posix/Flush.h"

#include <fcntl.h>
#include <sys/disk.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace qrt {

int flushToMedium(int descriptor) {
  if (fcntl(descriptor, F_FULLFSYNC) == 0) return 0;
  // This leaves the medium's own cache; where the call is missing, the medium has none.
  if (fsync(descriptor) != 0) return -1;
  if (ioctl(descriptor, DKIOCSYNCHRONIZECACHE) == 0) return 0;
  return errno == ENOTTY || errno == ENOTSUP ? 0 : -1;
}

}  // namespace qrt
