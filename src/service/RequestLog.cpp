#include "service/RequestLog.h"

namespace qrt {

RequestLog::~RequestLog() { allowance_.addDropped(caller_.userID, held_.size()); }

void RequestLog::keepEveryLine() {
  for (const auto& [level, text] : held_) log_.write(level, text, origin());
  held_.clear();
  keepsEveryLine_ = true;
}

void RequestLog::write(LogLevel level, std::string_view line, const LogOrigin&) {
  if (keepsEveryLine_) return log_.write(level, line, origin());
  writeReports(log_, allowance_.takeReports());
  if (allowance_.admits(caller_.userID)) {
    log_.write(level, line, origin());
  } else {
    held_.push_back({level, std::string(line)});
  }
}

void RequestLog::writeReports(Log& log, const std::vector<LogAllowance::Report>& reports) {
  for (const auto& [user, dropped] : reports) {
    log.error("%llu lines about requests of user %u were dropped.", dropped, user);
  }
}

}  // namespace qrt
