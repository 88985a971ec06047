// Firmware variables on Linux.
#pragma once

#include "platform/Nvram.h"

namespace qrt {

/// The variables of one vendor in the kernel's file system of EFI variables.
class LinuxNvram final : public Nvram {
 public:
  explicit LinuxNvram(const std::string& root) : folder_(root + "/sys/firmware/efi/efivars") {}

  Result<std::unique_ptr<NvramOptions>, KernelReturn> options() override;

 private:
  const std::string folder_;
};

}  // namespace qrt
