// Standard streams that a test can read.
#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Terminal.h"

namespace qrt::test {

class FakeTerminal : public Terminal {
 public:
  std::set<StandardStream> terminals;
  std::size_t width = 80;
  /// Streams whose reader has gone.
  std::set<StandardStream> deaf;

  bool isTerminal(StandardStream stream) const override { return terminals.contains(stream); }
  std::size_t columns() const override { return width; }
  bool write(StandardStream stream, std::string_view bytes) override {
    const std::lock_guard lock(mutex_);
    if (deaf.contains(stream)) return false;
    writes_.push_back({stream, std::string(bytes)});
    return true;
  }

  /// What a person types; null when nobody is there.
  std::optional<std::string> typed;

  bool canAsk() const override { return typed.has_value(); }
  std::optional<std::string> readLine() override { return typed; }

  std::string output() const { return all(StandardStream::output); }
  std::string errors() const { return all(StandardStream::error); }

  /// What was written since the last call, both streams together.
  std::string take() {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (const auto& write : writes_) text += write.bytes;
    writes_.clear();
    return text;
  }

 private:
  struct Write {
    StandardStream stream;
    std::string bytes;
  };

  std::string all(StandardStream stream) const {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (const auto& write : writes_) {
      if (write.stream == stream) text += write.bytes;
    }
    return text;
  }

  mutable std::mutex mutex_;
  std::vector<Write> writes_;
};

}  // namespace qrt::test
