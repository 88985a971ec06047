#include "platform/posix/DeviceWrites.h"

#include <fcntl.h>
#include <unistd.h>

namespace qrt {

int flushToMedium(int descriptor) { return fsync(descriptor); }

bool setCacheBypass(int descriptor, bool bypass) {
  const int flags = fcntl(descriptor, F_GETFL);
  return fcntl(descriptor, F_SETFL, bypass ? flags | O_DIRECT : flags & ~O_DIRECT) == 0;
}

/// Block devices are written through the cache where a size does not fit their sectors.
std::size_t writeUnitOf(int) { return 1; }

}  // namespace qrt
