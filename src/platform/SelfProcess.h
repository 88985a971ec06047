// This process.
#pragma once

#include <cstdint>

namespace qrt {

class SelfProcess {
 public:
  virtual ~SelfProcess() = default;

  virtual std::uint32_t realUserID() const = 0;

  /// Prepares the process for serving: many descriptors, no signal for a peer that left.
  virtual void prepareForService() = 0;

  /// Ends the process at once, whatever other threads are doing.
  [[noreturn]] virtual void exit(int status) = 0;
};

}  // namespace qrt
