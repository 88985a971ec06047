// Firmware variables in the registry of drivers.
#pragma once

#include "platform/Nvram.h"

namespace qrt {

class MacosNvram final : public Nvram {
 public:
  Result<std::unique_ptr<NvramOptions>, KernelReturn> options() override;
};

}  // namespace qrt
