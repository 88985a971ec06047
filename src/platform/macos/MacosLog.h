// The log on macOS.
#pragma once

#include <os/log.h>

#include <atomic>

#include "platform/Log.h"

namespace qrt {

/// Writes to the unified log. A line comes here as text in which private strings have given way to
/// "<private>" already, so all that is left is public. The unified log has no fields for an origin.
class MacosLog : public Log {
 public:
  void open(std::string_view subsystem, std::string_view category) override;
  void write(LogLevel level, std::string_view line, const LogOrigin& origin) override;

 private:
  /// The system keeps log objects for the life of the process and hands out the same one again.
  std::atomic<os_log_t> log_{OS_LOG_DEFAULT};
};

}  // namespace qrt
