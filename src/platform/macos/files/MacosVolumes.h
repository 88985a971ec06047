// Mounted file systems as the kernel lists them.
#pragma once

#include "platform/Volumes.h"

namespace qrt {

class MacosVolumes final : public Volumes {
 public:
  PosixResult<std::string> mountPoint(const std::string& path) override;
};

}  // namespace qrt
