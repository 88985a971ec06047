#include "platform/linux/LinuxLog.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <vector>

#include "base/Printable.h"

namespace qrt {
namespace {

int priorityOf(LogLevel level) {
  switch (level) {
    case LogLevel::standard:
      return 5;
    case LogLevel::info:
      return 6;
    case LogLevel::error:
      return 3;
    case LogLevel::fault:
      return 2;
  }
  return 5;
}

/// With OBJECT_PID the journal adds what it finds out about that process by itself.
void appendOrigin(std::vector<std::string>& fields, const LogOrigin& origin) {
  if (const auto* caller = origin.caller) {
    fields.push_back("QRT_CLIENT_UID=" + std::to_string(caller->userID));
    if (caller->processID != 0) fields.push_back("OBJECT_PID=" + std::to_string(caller->processID));
    if (!caller->executable.empty()) {
      fields.push_back("QRT_CLIENT_EXE=" + printable(caller->executable, LinuxLog::maximumBytes));
    }
  }
  if (!origin.operation.empty()) fields.push_back("QRT_OPERATION=" + std::string(origin.operation));
}

void sendToJournal(const std::vector<std::string>& fields) {
  std::vector<iovec> pieces;
  for (const auto& field : fields) {
    pieces.push_back({const_cast<char*>(field.data()), field.size()});
  }
  sd_journal_sendv(pieces.data(), static_cast<int>(pieces.size()));
}

void sendToStandardError(const std::string& line) {
  // There is nobody to tell about a failure.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

LinuxLog::Sink LinuxLog::sinkFor(const std::string& root, StandardError standardError) {
  // Without the socket the journal's library reports success and the line is lost.
  if (access((root + "/run/systemd/journal/socket").c_str(), W_OK) == 0) return Sink::journal;
  return standardError == StandardError::use ? Sink::standardError : Sink::nowhere;
}

LinuxLog::LinuxLog(const std::string& root, StandardError standardError)
    : sink_(sinkFor(root, standardError)) {}

void LinuxLog::open(std::string_view subsystem, std::string_view category) {
  const std::lock_guard lock(mutex_);
  subsystem_ = subsystem;
  category_ = category;
}

void LinuxLog::write(LogLevel level, std::string_view line, const LogOrigin& origin) {
  if (sink_ == Sink::nowhere) return;
  const auto priority = std::to_string(priorityOf(level));
  if (sink_ == Sink::standardError) {
    const auto prefix = "<" + priority + ">";
    sendToStandardError(prefix + printable(line, maximumBytes - prefix.size() - 1) + "\n");
    return;
  }

  std::vector<std::string> fields{"MESSAGE=" + printable(line, maximumBytes),
                                  "PRIORITY=" + priority};
  {
    const std::lock_guard lock(mutex_);
    if (!subsystem_.empty()) fields.push_back("SUBSYSTEM=" + subsystem_);
    if (!category_.empty()) fields.push_back("CATEGORY=" + category_);
  }
  appendOrigin(fields, origin);
  sendToJournal(fields);
}

}  // namespace qrt
