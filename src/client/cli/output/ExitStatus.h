// The exit status of qrtctl.
#pragma once

#include <optional>

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

/// The exit status of the program that the operation ran; nothing when the error has another cause.
std::optional<int> statusOfProgram(const Error& error);

/// The signal that killed the program that the operation ran.
std::optional<int> signalOfProgram(const Error& error);

/// The status after an operation that failed with this error: the program's own, 128 and the
/// number of the signal that killed it, or one of the list.
ExitStatus exitStatusFor(const Error& error);

}  // namespace qrt
