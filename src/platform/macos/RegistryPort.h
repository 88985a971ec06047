// The way to the registry of drivers.
#pragma once

#include <IOKit/IOKitLib.h>

#include "base/Result.h"
#include "platform/KernelReturn.h"

namespace qrt {

/// The system's own codes are those of the contract.
inline KernelReturn kernelReturn(kern_return_t code) { return static_cast<KernelReturn>(code); }

/// The port that is for everybody; nobody releases it.
inline Result<mach_port_t, KernelReturn> registryPort() {
  mach_port_t port = MACH_PORT_NULL;
  const auto code = IOMasterPort(MACH_PORT_NULL, &port);
  if (code != kIOReturnSuccess) return kernelReturn(code);
  return port;
}

}  // namespace qrt
