#include "platform/Log.h"

#include <os/log.h>

#include <atomic>
#include <string>

#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

os_log_type_t typeOf(LogLevel level) {
  switch (level) {
    case LogLevel::standard:
      return OS_LOG_TYPE_DEFAULT;
    case LogLevel::info:
      return OS_LOG_TYPE_INFO;
    case LogLevel::error:
      return OS_LOG_TYPE_ERROR;
    case LogLevel::fault:
      return OS_LOG_TYPE_FAULT;
  }
  return OS_LOG_TYPE_DEFAULT;
}

/// Writes to the unified log. In a line that this gets, "<private>" has
/// replaced the private strings, so all of it is public. The unified log has no fields for an
/// origin.
class MacosLog : public Log {
 public:
  void open(std::string_view subsystem, std::string_view category) override {
    log_ = os_log_create(std::string(subsystem).c_str(), std::string(category).c_str());
  }

  void write(LogLevel level, std::string_view line, const LogOrigin&) override {
    const std::string text(line);
    os_log_with_type(log_.load(), typeOf(level), "%{public}s", text.c_str());
  }

 private:
  /// The system keeps log objects for the life of the process and hands out the same one again.
  std::atomic<os_log_t> log_{OS_LOG_DEFAULT};
};

}  // namespace

std::unique_ptr<Log> makeLog() { return std::make_unique<MacosLog>(); }

}  // namespace qrt
