// The one place where a native `errno` becomes a code of the contract.
#pragma once

#include "base/PosixCode.h"

namespace qrt {

/// A number without a counterpart is `inputOutput`.
PosixCode contractCode(int nativeError);

/// The code for the `errno` of the calling thread.
PosixCode lastError();

/// The code for the result of a system call that returns 0 when it succeeds and else sets `errno`.
inline PosixCode codeFor(long result) { return result == 0 ? PosixCode::success : lastError(); }

}  // namespace qrt
