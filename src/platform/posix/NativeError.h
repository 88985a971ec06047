// The one place where a native `errno` becomes a code of the contract.
#pragma once

#include "base/PosixCode.h"

namespace qrt {

/// A number without a counterpart is `inputOutput`.
PosixCode contractCode(int nativeError);

/// The code for the calling thread's `errno`.
PosixCode lastError();

}  // namespace qrt
