// The System Management Controller behind the kernel's applesmc driver.
#pragma once

#include <mutex>
#include <string>

#include "platform/SMCExchange.h"

namespace qrt {

/// The driver shows one key at a time: its place in the controller's list is written to one file,
/// and the others tell name, type, size and data of the key there. It has no way to set a key, so
/// writes are `notPrivileged`.
///
/// The place belongs to everybody. Exchanges of this object take turns; that another program moved
/// the place is seen by the name, and the exchange begins anew (a few times, then it is `busy`).
class LinuxSMCExchange final : public SMCExchange {
 public:
  explicit LinuxSMCExchange(const std::string& root)
      : folder_(root + "/sys/devices/platform/applesmc.768") {}

  KernelReturn callSMC(const SMCParameterRecord& input, SMCParameterRecord& output) override;

 private:
  const std::string folder_;
  std::mutex mutex_;
};

}  // namespace qrt
