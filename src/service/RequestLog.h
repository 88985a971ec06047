// The log of one request.
#pragma once

#include <string>
#include <vector>

#include "platform/Log.h"
#include "service/LogAllowance.h"

namespace qrt {

/// Passes lines on to the system's log with the requestor as their origin, within the allowance of
/// the requestor's user. Handed down with the request, so that each line names who caused it. Log,
/// allowance and caller outlive it.
class RequestLog : public Log {
 public:
  RequestLog(Log& log, LogAllowance& allowance, const Caller& caller)
      : log_(log), allowance_(allowance), caller_(caller) {}
  RequestLog(const RequestLog&) = delete;
  RequestLog& operator=(const RequestLog&) = delete;
  /// Counts the lines that were held to the end as dropped.
  ~RequestLog() override;

  /// From here on lines name the operation too.
  void setOperation(const std::string& identifier) { operation_ = identifier; }

  /// Nothing is dropped any more: writes the lines that were held, and all that follow. From here
  /// on thread-safe; before, a request has one thread.
  void keepEveryLine();

  /// Does nothing: the system's log is open.
  void open(std::string_view, std::string_view) override {}
  /// Holds a line that exceeds the allowance. A request has few before it is granted.
  void write(LogLevel level, std::string_view line, const LogOrigin& origin) override;

  /// Writes how many lines each of those users lost.
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
