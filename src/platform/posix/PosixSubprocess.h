// Child programs through fork and pipes.
#pragma once

#include "platform/Subprocess.h"

namespace qrt {

class PosixSubprocessFacility : public SubprocessFacility {
 public:
  PosixResult<std::unique_ptr<Subprocess>> prepare() override;
};

}  // namespace qrt
