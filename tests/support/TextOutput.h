// A requestor's end that keeps what a program wrote.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>

#include "protocol/FeedbackConnection.h"
#include "protocol/Names.h"

namespace qrt::test {

class TextOutput : public FeedbackConnection {
 public:
  /// From here on nothing is read any more: whoever sends a message waits.
  void stopReading() {
    const std::lock_guard lock(mutex_);
    isReading_ = false;
  }
  /// Messages are lost from here on, and whoever waited goes on.
  void disconnect() {
    const std::lock_guard lock(mutex_);
    isConnected_ = false;
    changed_.notify_all();
  }

  std::string output() const { return locked(output_); }
  std::string error() const { return locked(error_); }
  /// The kinds of messages that carried nothing, in order: "o" and "e".
  std::string empties() const { return locked(empties_); }
  std::size_t messages() const { return locked(messages_); }

  qrt::Outcome open(Dictionary) override { return success; }
  void suspend() override {}

  void processPrivilegedOperationFeedback(Dictionary message) override {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isReading_ || !isConnected_; });
    if (!isConnected_) return;
    ++messages_;
    const auto& [key, value] = *message.begin();
    const bool isError = key == errorDataKey;
    const auto& data = *value.data();
    if (data.empty()) empties_ += isError ? 'e' : 'o';
    take(isError ? error_ : output_, data);
  }

 protected:
  /// Called under the lock.
  virtual void take(std::string& text, const Data& data) { text.append(data.begin(), data.end()); }

 private:
  template <class T>
  T locked(const T& value) const {
    const std::lock_guard lock(mutex_);
    return value;
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool isReading_ = true;
  bool isConnected_ = true;
  std::string output_;
  std::string error_;
  std::string empties_;
  std::size_t messages_ = 0;
};

}  // namespace qrt::test
