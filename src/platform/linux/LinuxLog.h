// The log on Linux.
#pragma once

#include <mutex>
#include <string>

#include "platform/Log.h"

namespace qrt {

/// Writes to the journal where there is one, with the fields SUBSYSTEM and CATEGORY, and for the
/// lines of a request OBJECT_PID, QRT_CLIENT_UID, QRT_CLIENT_EXE and QRT_OPERATION; else, if
/// allowed, to standard error in the notation that a service manager understands; else nowhere.
/// Characters that control a terminal and bytes that are no text come out as "\xNN". A line is one
/// write and is cut at `maximumBytes`.
class LinuxLog : public Log {
 public:
  enum class StandardError { use, avoid };

  /// What a pipe takes in one piece, so that lines of several processes do not mix.
  static constexpr std::size_t maximumBytes = 4096;

  LinuxLog(const std::string& root, StandardError standardError);

  void open(std::string_view subsystem, std::string_view category) override;
  void write(LogLevel level, std::string_view line, const LogOrigin& origin) override;

 private:
  enum class Sink { journal, standardError, nowhere };
  static Sink sinkFor(const std::string& root, StandardError standardError);

  const Sink sink_;
  std::mutex mutex_;
  std::string subsystem_;
  std::string category_;
};

}  // namespace qrt
