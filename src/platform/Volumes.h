// Mounted file systems.
#pragma once

#include <string>

#include "base/Result.h"

namespace qrt {

/// Thread-safe.
class Volumes {
 public:
  virtual ~Volumes() = default;

  /// The mount point of the file system that contains the object at a path, as the system spells
  /// it.
  virtual PosixResult<std::string> mountPoint(const std::string& path) = 0;
};

}  // namespace qrt
