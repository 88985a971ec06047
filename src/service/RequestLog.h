// The log of one request.
#pragma once

#include <string>
#include <vector>

#include "platform/Log.h"
#include "service/LogAllowance.h"

namespace qrt {

/// Writes lines to the system's log with the requestor as their origin, within the allowance of the
/// requestor's user. Log, allowance and caller outlive it.
class RequestLog : public Log {
 public:
  RequestLog(Log& log, LogAllowance& allowance, const Caller& caller)
      : log_(log), allowance_(allowance), caller_(caller) {}
  RequestLog(const RequestLog&) = delete;
  RequestLog& operator=(const RequestLog&) = delete;
  /// Counts the lines that are still held as dropped.
  ~RequestLog() override;

  /// Later lines name the operation too.
  void setOperation(const std::string& identifier) { operation_ = identifier; }

  /// Writes the held lines and all later ones. After the call the log is thread-safe; before it, a
  /// request has one thread.
  void keepEveryLine();

  /// Does nothing, because the system's log is open.
  void open(std::string_view, std::string_view) override {}
  /// Holds a line that exceeds the allowance. A request has few lines before it is authorized.
  void write(LogLevel level, std::string_view line, const LogOrigin& origin) override;

  /// Writes how many lines of each user were dropped.
  static void writeReports(Log& log, const std::vector<LogAllowance::Report>& reports);

 private:
  struct Line {
    LogLevel level;
    std::string text;
  };

  LogOrigin origin() const { return {&caller_, operation_}; }

  Log& log_;
  LogAllowance& allowance_;
  const Caller& caller_;
  std::string operation_;
  bool keepsEveryLine_ = false;
  std::vector<Line> held_;
};

}  // namespace qrt
