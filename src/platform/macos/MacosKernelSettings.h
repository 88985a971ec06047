// Kernel variables on macOS.
#pragma once

#include "platform/KernelSettings.h"

namespace qrt {

class MacosKernelSettings : public KernelSettings {
 public:
  PosixCode write(const std::string& name, const Number& value) override;
};

}  // namespace qrt
