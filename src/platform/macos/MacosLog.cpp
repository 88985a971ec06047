#include "platform/macos/MacosLog.h"

#include <string>

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

}  // namespace

void MacosLog::open(std::string_view subsystem, std::string_view category) {
  log_ = os_log_create(std::string(subsystem).c_str(), std::string(category).c_str());
}

void MacosLog::write(LogLevel level, std::string_view line, const LogOrigin&) {
  const std::string text(line);
  os_log_with_type(log_.load(), typeOf(level), "%{public}s", text.c_str());
}

}  // namespace qrt
