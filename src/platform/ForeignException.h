// Exceptions that other languages throw.
#pragma once

#include <string>

namespace qrt {

struct ForeignException {
  /// Empty when nothing is known about the exception.
  std::string name, reason;
};

/// The exception that is being handled. Call it only within a `catch` block.
ForeignException handledForeignException();

}  // namespace qrt
