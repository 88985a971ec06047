#include "platform/posix/CacheBypass.h"

#include <fcntl.h>

namespace qrt {

bool setCacheBypass(int descriptor, bool bypass) {
  const int flags = fcntl(descriptor, F_GETFL);
  return fcntl(descriptor, F_SETFL, bypass ? flags | O_DIRECT : flags & ~O_DIRECT) == 0;
}

}  // namespace qrt
