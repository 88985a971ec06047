// A notice to the user that the helper is slow to start.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace qrt {

/// Calls `say` once, on a thread of its own, unless the notice is destroyed before the delay is
/// over.
class StartNotice {
 public:
  StartNotice(std::chrono::milliseconds delay, std::function<void()> say)
      : thread_([this, delay, say = std::move(say)] {
          std::unique_lock lock(mutex_);
          if (!hasEnded_.wait_for(lock, delay, [this] { return isOver_; })) say();
        }) {}
  StartNotice(const StartNotice&) = delete;
  StartNotice& operator=(const StartNotice&) = delete;
  ~StartNotice() {
    {
      const std::lock_guard lock(mutex_);
      isOver_ = true;
    }
    hasEnded_.notify_one();
    thread_.join();
  }

 private:
  std::mutex mutex_;
  std::condition_variable hasEnded_;
  bool isOver_ = false;
  std::thread thread_;
};

}  // namespace qrt
