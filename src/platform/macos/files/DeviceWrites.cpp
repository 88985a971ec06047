#include "platform/posix/DeviceWrites.h"

#include <fcntl.h>
#include <sys/disk.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace qrt {

int flushToMedium(int descriptor) {
  if (fcntl(descriptor, F_FULLFSYNC) == 0) return 0;
  // This leaves the medium's own cache; where the call is missing, the medium has none.
  if (fsync(descriptor) != 0) return -1;
  if (ioctl(descriptor, DKIOCSYNCHRONIZECACHE) == 0) return 0;
  return errno == ENOTTY || errno == ENOTSUP ? 0 : -1;
}

bool setCacheBypass(int descriptor, bool bypass) {
  return fcntl(descriptor, F_NOCACHE, bypass ? 1 : 0) == 0;
}

/// Raw disks take whole sectors; a block device has the cache before it.
std::size_t writeUnitOf(int descriptor) {
  struct stat status;
  std::uint32_t sectorSize = 0;
  const bool isRawDisk = fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode) &&
                         ioctl(descriptor, DKIOCGETBLOCKSIZE, &sectorSize) == 0;
  return isRawDisk && sectorSize > 0 ? sectorSize : 1;
}

}  // namespace qrt
