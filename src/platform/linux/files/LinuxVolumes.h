// Mounted file systems of Linux.
#pragma once

#include "platform/Volumes.h"

namespace qrt {

/// A mount of a part of a file system counts as one.
class LinuxVolumes final : public Volumes {
 public:
  explicit LinuxVolumes(const std::string& root) : table_(root + "/proc/self/mountinfo") {}

  PosixResult<std::string> mountPoint(const std::string& path) override;

 private:
  const std::string table_;
};

}  // namespace qrt
