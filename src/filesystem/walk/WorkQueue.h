// Work that two threads share.
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

namespace qrt {

/// Pieces of work that wait for one of two workers, 0 and 1. Thread-safe.
template <class Piece>
class WorkQueue {
 public:
  explicit WorkQueue(std::size_t enough) : enough_(enough) {}

  /// Adds a piece and wakes no worker: the worker that added it will take it.
  void put(Piece* piece, unsigned worker) {
    const std::lock_guard lock(mutex_);
    waiting_[worker].push_back(piece);
  }

  /// The same unless enough pieces of that worker wait already; then false.
  bool offer(Piece* piece, unsigned worker) {
    const std::lock_guard lock(mutex_);
    if (waiting_[worker].size() >= enough_) return false;
    waiting_[worker].push_back(piece);
    return true;
  }

  /// Waits for a piece: the worker's own latest. When it has none, half of what the other has
  /// becomes its own, the oldest, which promise the most; neighbours stay together, so that the
  /// workers do not get into each other's way. Null when the queue was closed; what still waits
  /// then is left to `takeRest()`.
  Piece* take(unsigned worker) {
    std::unique_lock lock(mutex_);
    auto& own = waiting_[worker];
    auto& other = waiting_[1 - worker];
    changed_.wait(lock, [&] { return isClosed_ || !own.empty() || !other.empty(); });
    if (isClosed_) return nullptr;
    if (own.empty()) {
      const auto half = other.begin() + static_cast<std::ptrdiff_t>((other.size() + 1) / 2);
      own.assign(other.begin(), half);
      other.erase(other.begin(), half);
    }
    return takeBack(own);
  }

  /// Whether work waits; a worker that waits for some is woken.
  bool wake() {
    const std::lock_guard lock(mutex_);
    if (waiting_[0].empty() && waiting_[1].empty()) return false;
    changed_.notify_one();
    return true;
  }

  void close() {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    changed_.notify_all();
  }

  /// A piece left in a closed queue; null if it is empty.
  Piece* takeRest() {
    const std::lock_guard lock(mutex_);
    for (auto& waiting : waiting_) {
      if (!waiting.empty()) return takeBack(waiting);
    }
    return nullptr;
  }

 private:
  static Piece* takeBack(std::deque<Piece*>& pieces) {
    auto* piece = pieces.back();
    pieces.pop_back();
    return piece;
  }

  const std::size_t enough_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::array<std::deque<Piece*>, 2> waiting_;
  bool isClosed_ = false;
};

}  // namespace qrt
