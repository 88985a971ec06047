#include "platform/Log.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <mutex>
#include <string>
#include <vector>

#include "base/Printable.h"
#include "platform/linux/LinuxFacilities.h"

namespace qrt {
namespace {

/// What a pipe takes in one piece, so that lines of several processes do not mix.
constexpr std::size_t maximumBytes = 4096;

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

/// For OBJECT_PID the journal adds its own fields about that process.
void appendOrigin(std::vector<std::string>& fields, const LogOrigin& origin) {
  if (const auto* caller = origin.caller) {
    fields.push_back("QRT_CLIENT_UID=" + std::to_string(caller->userID));
    if (caller->processID != 0) fields.push_back("OBJECT_PID=" + std::to_string(caller->processID));
    if (!caller->executable.empty()) {
      fields.push_back("QRT_CLIENT_EXE=" + printable(caller->executable, maximumBytes));
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
  // A failure cannot be reported anywhere.
  [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

/// Writes to the journal where there is one, with the fields SUBSYSTEM and CATEGORY, and for the
/// lines of a request OBJECT_PID, QRT_CLIENT_UID, QRT_CLIENT_EXE and QRT_OPERATION. Without a
/// journal the lines go to standard error, with the prefixes that a service manager understands, or
/// nowhere. Characters that control a terminal and bytes that are not text are written as "\xNN".
/// Each line is one write and is cut at `maximumBytes`.
class LinuxLog : public Log {
 public:
  LinuxLog(const std::string& root, WithoutJournal withoutJournal)
      : sink_(sinkFor(root, withoutJournal)) {}

  void open(std::string_view subsystem, std::string_view category) override;
  void write(LogLevel level, std::string_view line, const LogOrigin& origin) override;

 private:
  enum class Sink { journal, standardError, nowhere };
  static Sink sinkFor(const std::string& root, WithoutJournal withoutJournal);

  const Sink sink_;
  std::mutex mutex_;
  std::string subsystem_;
  std::string category_;
};

LinuxLog::Sink LinuxLog::sinkFor(const std::string& root, WithoutJournal withoutJournal) {
  // Without the socket the journal's library reports success and the line is lost.
  if (access((root + "/run/systemd/journal/socket").c_str(), W_OK) == 0) return Sink::journal;
  return withoutJournal == WithoutJournal::standardError ? Sink::standardError : Sink::nowhere;
}

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

}  // namespace

std::unique_ptr<Log> makeLog(const std::string& root, WithoutJournal withoutJournal) {
  return std::make_unique<LinuxLog>(root, withoutJournal);
}

}  // namespace qrt
