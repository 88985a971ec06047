// The system's log.
#pragma once

#include <string_view>
#include <type_traits>

#include "platform/LogFormat.h"

namespace qrt {

enum class LogLevel { standard, info, error, fault };

/// Writes lines to the system's log. Thread-safe. Writing never fails as far as the caller can see.
class Log {
 public:
  virtual ~Log() = default;

  /// Names the lines that follow. Lines written before belong to no subsystem.
  virtual void open(std::string_view subsystem, std::string_view category) = 0;

  virtual void write(LogLevel level, std::string_view line) = 0;

  template <class... Args>
  void standard(std::type_identity_t<LogFormat<Args...>> format, const Args&... args) {
    formatted(LogLevel::standard, format.text(), args...);
  }
  template <class... Args>
  void info(std::type_identity_t<LogFormat<Args...>> format, const Args&... args) {
    formatted(LogLevel::info, format.text(), args...);
  }
  template <class... Args>
  void error(std::type_identity_t<LogFormat<Args...>> format, const Args&... args) {
    formatted(LogLevel::error, format.text(), args...);
  }
  template <class... Args>
  void fault(std::type_identity_t<LogFormat<Args...>> format, const Args&... args) {
    formatted(LogLevel::fault, format.text(), args...);
  }

 private:
  template <class... Args>
  void formatted(LogLevel level, std::string_view format, const Args&... args) {
    const LogArgument arguments[] = {logArgument(args)..., {log_format::Kind::unsupported, {}, 0}};
    write(level, formatLogLine(format, arguments));
  }
};

}  // namespace qrt
