#include "platform/posix/NativeError.h"

#include <cerrno>

namespace qrt {

// The contract's numbers are this system's own. It has two for what is not supported, which say the
// same and are met in each other's place.
PosixCode contractCode(int nativeError) {
  return static_cast<PosixCode>(nativeError == EOPNOTSUPP ? ENOTSUP : nativeError);
}

}  // namespace qrt
