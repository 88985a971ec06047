// Tasks that other threads leave for a waiting thread.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/FileDescriptor.h"

namespace qrt {

class Mailbox {
 public:
  using Task = std::function<void()>;

  Mailbox();

  /// False when there were no descriptors for it; then no thread can wait at it.
  explicit operator bool() const { return readingEnd_ && writingEnd_; }

  /// From any thread.
  void post(Task task);

  /// Makes the waiting thread look again whether its wait is over. Async-signal-safe.
  void wake();

  /// Ends the current wait; without one, the next wait ends at once. Async-signal-safe.
  void interrupt();

  /// Performs the posted tasks, in order and on this thread, until `isOver` holds. False when it is
  /// interrupted before.
  bool performUntil(const std::function<bool()>& isOver);

  /// The same for no longer than `limit`; also false after that time.
  bool performUntil(const std::function<bool()>& isOver, std::chrono::milliseconds limit);

 private:
  using Clock = std::chrono::steady_clock;
  bool waitForWake(std::optional<Clock::time_point> deadline);
  bool perform(const std::function<bool()>& isOver, std::optional<Clock::time_point> deadline);
  std::vector<Task> takePosted();

  FileDescriptor readingEnd_;
  FileDescriptor writingEnd_;
  std::atomic<bool> isInterrupted_ = false;
  std::mutex mutex_;
  std::vector<Task> posted_;
};

}  // namespace qrt
