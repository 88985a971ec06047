#include "platform/posix/WriteUnit.h"

#include <sys/disk.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <cstdint>

namespace qrt {

/// Raw disks take whole sectors; a block device has the cache before it.
std::size_t writeUnitOf(int descriptor) {
  struct stat status;
  std::uint32_t sectorSize = 0;
  const bool isRawDisk = fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode) &&
                         ioctl(descriptor, DKIOCGETBLOCKSIZE, &sectorSize) == 0;
  return isRawDisk && sectorSize > 0 ? sectorSize : 1;
}

}  // namespace qrt
