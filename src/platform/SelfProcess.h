// This process.
#pragma once

#include <cstdint>

namespace qrt {

class SelfProcess {
 public:
  virtual ~SelfProcess() = default;

  virtual std::uint32_t realUserID() const = 0;

  /// Raises the limit of descriptors, ignores SIGPIPE and makes sure that the statuses of children
  /// are kept. Called once, before there are other threads.
  virtual void prepareForService() = 0;

  /// Ends the process at once and destroys nothing that other threads may use.
  [[noreturn]] virtual void exit(int status) = 0;
};

}  // namespace qrt
