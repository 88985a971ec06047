// The system's log.
#pragma once

#include <string_view>
#include <type_traits>

#include "platform/LogFormat.h"
#include "protocol/Caller.h"

namespace qrt {

enum class LogLevel { standard, info, error, fault };

/// The requestor and the operation that a line is about. Lines of the service itself have no
/// origin.
struct LogOrigin {
  /// Null without a requestor.
  const Caller* caller = nullptr;
  /// The identifier of the catalogue; empty without one.
  std::string_view operation;
};

/// Writes lines to the system's log. Thread-safe. A failed write is not reported.
class Log {
 public:
  virtual ~Log() = default;

  /// Sets subsystem and category of the lines that follow. Earlier lines have neither.
  virtual void open(std::string_view subsystem, std::string_view category) = 0;

  /// A log whose lines have fields gets the origin in fields.
  virtual void write(LogLevel level, std::string_view line, const LogOrigin& origin) = 0;

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
    write(level, formatLogLine(format, arguments), {});
  }
};

}  // namespace qrt
