#include "platform/posix/Flush.h"

#include <unistd.h>

namespace qrt {

int flushToMedium(int descriptor) { return fsync(descriptor); }

}  // namespace qrt
