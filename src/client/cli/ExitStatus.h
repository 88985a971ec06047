// What the shell is told.
#pragma once

#include "base/Error.h"

namespace qrt {

enum class ExitStatus : int {
  done = 0,
  failed = 1,
  usage = 2,
  notAuthorized = 3,
  notFound = 4,
  unreachable = 6,
  interrupted = 130,
};

/// The status for an operation that ended with this error. A code of 0 is an answer, not a failure.
ExitStatus exitStatusFor(const Error& error);

}  // namespace qrt
