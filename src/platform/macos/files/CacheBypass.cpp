#include "platform/posix/CacheBypass.h"

#include <fcntl.h>

namespace qrt {

bool setCacheBypass(int descriptor, bool bypass) {
  return fcntl(descriptor, F_NOCACHE, bypass ? 1 : 0) == 0;
}

}  // namespace qrt
