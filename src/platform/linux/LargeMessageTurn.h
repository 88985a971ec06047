// How many large messages are decoded at a time.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace qrt {

/// A turn at decoding a large message, which can take ten times its size: held for as long as the
/// processor is at work on it, and never while anything is waited for. Turns come in the order in
/// which they were asked for. Thread-safe.
class LargeMessageTurn {
 public:
  /// Messages up to this size need no turn.
  static constexpr std::size_t largestWithout = 1 << 20;
  static constexpr std::uint64_t turnsAtATime = 2;

  /// Waits until it is this one's turn.
  LargeMessageTurn() {
    auto& queue = shared();
    std::unique_lock lock(queue.mutex);
    const auto ticket = queue.asked++;
    queue.moved.wait(lock, [&] { return ticket < queue.done + turnsAtATime; });
  }
  ~LargeMessageTurn() {
    auto& queue = shared();
    const std::lock_guard lock(queue.mutex);
    ++queue.done;
    queue.moved.notify_all();
  }
  LargeMessageTurn(const LargeMessageTurn&) = delete;
  LargeMessageTurn& operator=(const LargeMessageTurn&) = delete;

 private:
  struct Queue {
    std::mutex mutex;
    std::condition_variable moved;
    std::uint64_t asked = 0;
    std::uint64_t done = 0;
  };
  static Queue& shared() {
    static Queue& queue = *new Queue;  // Outlives every thread that may still wait.
    return queue;
  }
};

}  // namespace qrt
