// The threads of a walk.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

#include "platform/ThreadUse.h"
#include "platform/WorkerPool.h"

namespace qrt {

/// The workers of a walk: the thread of the request and helpers of the pool. As many as there are
/// processors pay while the work is in memory. Workers that mostly wait, for a disk, leave the
/// processors to more workers. On one processor there are no helpers. Thread-safe.
class WorkerCount {
 public:
  static constexpr std::size_t maximum = 16;

  explicit WorkerCount(WorkerShare share);
  WorkerCount(const WorkerCount&) = delete;
  WorkerCount& operator=(const WorkerCount&) = delete;
  /// No helper runs any longer.
  ~WorkerCount();

  /// Notes for how much of the time a worker waited while it had work.
  void note(std::chrono::duration<double> waiting, std::chrono::duration<double> time);

  bool wantsMore() const { return running_ < wanted_; }
  /// Whether the workers mostly wait.
  bool isWaiting() const;
  /// Counts one more helper, which the caller starts. False if it would not pay, or the pool has
  /// none to spare.
  bool addHelper();
  /// A helper ends.
  void removeHelper();
  /// Whether a helper is to end, because others need the pool or the processors.
  bool hasTooMany() const;

 private:
  const WorkerShare share_;
  std::atomic<std::size_t> running_ = 1;
  std::atomic<std::size_t> wanted_;
  std::mutex mutex_;
  /// Of the recent past. A walk begins as if it had worked in memory for a while.
  std::chrono::duration<double> waiting_{0};
  std::chrono::duration<double> time_{0.03};
};

/// Measures one worker for a count. Belongs to the worker's thread.
class WorkerMeter {
 public:
  explicit WorkerMeter(WorkerCount& count) : count_(count) {}

  /// Whether there is something to note. Cheap.
  bool isDue() const { return Clock::now() - begin_ >= interval; }
  /// The first time, only begins to measure.
  void note();

  /// The worker waits for work, asleep or not, which is not counted.
  template <class Wait>
  auto whileIdle(Wait wait) {
    const auto begin = Clock::now();
    const auto before = useOfThread();
    auto result = wait();
    begin_ += Clock::now() - begin;
    if (use_) *use_ += useOfThread() - before;
    return result;
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds interval{2};

  WorkerCount& count_;
  Clock::time_point begin_ = Clock::now();
  std::optional<ThreadUse> use_;
};

/// The helpers of a walk. Thread-safe.
class Helpers {
 public:
  /// A helper without work for so long ends.
  static constexpr std::chrono::milliseconds patience{50};

  /// Each helper calls `work` once, with its number from 1 on.
  Helpers(WorkerCount& count, std::function<void(std::size_t)> work);
  Helpers(const Helpers&) = delete;
  Helpers& operator=(const Helpers&) = delete;
  ~Helpers() { waitForAll(); }

  /// Starts a helper if one more pays.
  void addOne();
  /// Returns when the last helper has ended; no more are added.
  void waitForAll();

 private:
  struct Helper {
    std::thread thread;
    std::atomic<bool> isRunning = false;
  };

  void start(Helper& helper, std::size_t number);

  WorkerCount& count_;
  const std::function<void(std::size_t)> work_;
  std::mutex mutex_;
  bool isOver_ = false;
  std::array<Helper, WorkerCount::maximum - 1> helpers_;
};

}  // namespace qrt
