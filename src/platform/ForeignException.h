// Exceptions that other languages throw.
#pragma once

#include <string>

namespace qrt {

struct ForeignException {
  /// Empty for one that nothing is known about.
  std::string name, reason;
};

/// The exception that is being handled. Only within a handler.
ForeignException handledForeignException();

}  // namespace qrt
