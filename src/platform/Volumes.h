// Mounted file systems.
#pragma once

#include <string>

#include "base/Result.h"

namespace qrt {

/// Thread-safe.
class Volumes {
 public:
  virtual ~Volumes() = default;

  /// Where the file system is mounted that holds what the path leads to, as the system writes it.
  virtual PosixResult<std::string> mountPoint(const std::string& path) = 0;
};

}  // namespace qrt
