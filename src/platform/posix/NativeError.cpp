#include "platform/posix/NativeError.h"

#include <cerrno>

namespace qrt {

PosixCode lastError() { return contractCode(errno); }

}  // namespace qrt
