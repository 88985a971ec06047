// Variables of the running kernel.
#pragma once

#include <string>

#include "base/Number.h"
#include "base/PosixCode.h"

namespace qrt {

/// Thread-safe.
class KernelSettings {
 public:
  virtual ~KernelSettings() = default;

  /// Sets the variable with that dotted name to a 64-bit integer. A malformed name is `noEntry`.
  virtual PosixCode write(const std::string& name, const Number& value) = 0;
};

}  // namespace qrt
