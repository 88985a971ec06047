// Kernel variables on Linux.
#pragma once

#include "platform/KernelSettings.h"

namespace qrt {

/// Writes beneath "/proc/sys" and nowhere else. In a name "." separates components and "/" stands
/// for a dot inside one, as in "net.ipv4.conf.eth0/1.forwarding".
class LinuxKernelSettings : public KernelSettings {
 public:
  explicit LinuxKernelSettings(const std::string& root) : folder_(root + "/proc/sys") {}

  PosixCode write(const std::string& name, const Number& value) override;

 private:
  const std::string folder_;
};

}  // namespace qrt
