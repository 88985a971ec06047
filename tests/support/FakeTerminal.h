// Standard streams that a test can read.
#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/Terminal.h"

namespace qrt::test {

class FakeTerminal : public Terminal {
 public:
  std::set<StandardStream> terminals;
  std::size_t width = 80;
  /// Streams whose reader has gone.
  std::set<StandardStream> deaf;
  /// The text that a person types; empty without a person.
  std::optional<std::string> typed;

  PosixCode outputFailure() const override { return PosixCode::noSpace; }
  bool isTerminal(StandardStream stream) const override { return terminals.contains(stream); }
  std::size_t columns() const override { return width; }
  bool canAsk() const override { return typed.has_value(); }
  bool isInputTyped() const override { return typed.has_value(); }
  std::optional<std::string> readLine() override { return typed; }
  std::optional<std::string> ask(std::string_view question) override {
    write(StandardStream::error, question);
    return typed;
  }
  void stopWaiting() override {}
  bool write(StandardStream stream, std::string_view bytes) override {
    const std::lock_guard lock(mutex_);
    if (deaf.contains(stream)) return false;
    (stream == StandardStream::output ? output_ : errors_) += bytes;
    return true;
  }

  std::string output() const {
    const std::lock_guard lock(mutex_);
    return output_;
  }
  std::string errors() const {
    const std::lock_guard lock(mutex_);
    return errors_;
  }
  /// All that was written since the last call.
  std::string take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(output_, "") + std::exchange(errors_, "");
  }

 private:
  mutable std::mutex mutex_;
  std::string output_;
  std::string errors_;
};

}  // namespace qrt::test
