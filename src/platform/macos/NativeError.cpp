#include "platform/posix/NativeError.h"

namespace qrt {

// The contract's numbers are this system's own.
PosixCode contractCode(int nativeError) { return static_cast<PosixCode>(nativeError); }

}  // namespace qrt
