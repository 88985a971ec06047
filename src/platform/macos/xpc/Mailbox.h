// What other threads want done by one that waits.
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

  /// False when there were no descriptors for it; it cannot be waited at then.
  explicit operator bool() const { return readingEnd_ && writingEnd_; }

  /// From any thread.
  void post(Task task);

  /// Ends the waiting, or else the next one before it begins. Async-signal-safe.
  void interrupt();

  /// Performs what is posted, in order and on this thread, until `isOver` holds. False when it was
  /// interrupted before.
  bool performUntil(const std::function<bool()>& isOver);

  /// The same for no longer than `limit`; false as well when that is over.
  bool performUntil(const std::function<bool()>& isOver, std::chrono::milliseconds limit);

 private:
  void wake();
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
