// Variables of the running kernel.
#pragma once

#include <cstdint>
#include <string>

#include "base/PosixCode.h"

namespace qrt {

/// Thread-safe.
class KernelSettings {
 public:
  virtual ~KernelSettings() = default;

  /// Sets the variable with that dotted name. A name that cannot be one is `noEntry`.
  virtual PosixCode write(const std::string& name, std::int64_t value) = 0;
};

}  // namespace qrt
