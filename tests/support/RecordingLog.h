// A log for tests to read.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/Log.h"

namespace qrt::test {

class RecordingLog : public Log {
 public:
  struct Line {
    LogLevel level;
    std::string text;
    friend bool operator==(const Line&, const Line&) = default;
  };

  void open(std::string_view, std::string_view) override {}
  void write(LogLevel level, std::string_view line, const LogOrigin&) override {
    const std::lock_guard lock(mutex_);
    lines_.push_back({level, std::string(line)});
  }

  std::vector<Line> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const auto& line : lines()) texts.push_back(line.text);
    return texts;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Line> lines_;
};

}  // namespace qrt::test
