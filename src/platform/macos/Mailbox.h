// What other threads want done by one that waits.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
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

 private:
  void wake();
  bool waitForWake();
  std::vector<Task> takePosted();

  FileDescriptor readingEnd_;
  FileDescriptor writingEnd_;
  std::atomic<bool> isInterrupted_ = false;
  std::mutex mutex_;
  std::vector<Task> posted_;
};

}  // namespace qrt
