// Work that several threads share.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace qrt {

/// Pieces of work that wait for one of several workers, numbered from 0. Thread-safe.
template <class Piece>
class WorkQueue {
 public:
  WorkQueue(std::size_t workers, std::size_t enough) : enough_(enough), waiting_(workers) {}

  /// Adds a piece and wakes no worker: the worker that added it will take it.
  void put(Piece piece, std::size_t worker) {
    const std::lock_guard lock(mutex_);
    add(std::move(piece), worker);
  }

  /// The same unless enough pieces of that worker wait already; then false.
  bool offer(Piece piece, std::size_t worker) {
    const std::lock_guard lock(mutex_);
    if (waiting_[worker].size() >= enough_) return false;
    add(std::move(piece), worker);
    return true;
  }

  /// The worker's own latest piece. When it has none, half of what the worker with the most has
  /// becomes its own, the oldest, which promise the most; neighbours stay together, so that the
  /// workers do not get into each other's way. Nothing when no piece waits or the queue is closed.
  std::optional<Piece> take(std::size_t worker) {
    const std::lock_guard lock(mutex_);
    return isClosed_ ? std::nullopt : takeFor(worker);
  }

  /// The same, but waits for a piece, at most so long.
  std::optional<Piece> waitFor(std::size_t worker, std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    ++idle_;
    changed_.wait_for(lock, time, [&] { return isClosed_ || count_ != 0; });
    --idle_;
    return isClosed_ ? std::nullopt : takeFor(worker);
  }

  bool isEmpty() const {
    const std::lock_guard lock(mutex_);
    return count_ == 0;
  }

  bool isClosed() const {
    const std::lock_guard lock(mutex_);
    return isClosed_;
  }

  bool hasIdleWorker() const {
    const std::lock_guard lock(mutex_);
    return idle_ != 0;
  }

  /// Wakes a worker that waits for a piece. False if none does.
  bool wake() {
    const std::lock_guard lock(mutex_);
    changed_.notify_one();
    return idle_ != 0;
  }

  /// What still waits is left to `takeRest()`.
  void close() {
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
    changed_.notify_all();
  }

  /// A piece left in a closed queue.
  std::optional<Piece> takeRest() {
    const std::lock_guard lock(mutex_);
    return takeFor(0);
  }

 private:
  void add(Piece piece, std::size_t worker) {
    waiting_[worker].push_back(std::move(piece));
    ++count_;
  }

  std::optional<Piece> takeFor(std::size_t worker) {
    if (count_ == 0) return std::nullopt;
    auto& own = waiting_[worker];
    if (own.empty()) takeOver(own);
    auto piece = std::move(own.back());
    own.pop_back();
    --count_;
    return piece;
  }

  void takeOver(std::vector<Piece>& own) {
    auto& other =
        *std::max_element(waiting_.begin(), waiting_.end(),
                          [](const auto& a, const auto& b) { return a.size() < b.size(); });
    const auto half = other.begin() + static_cast<std::ptrdiff_t>((other.size() + 1) / 2);
    own.assign(std::make_move_iterator(other.begin()), std::make_move_iterator(half));
    other.erase(other.begin(), half);
  }

  const std::size_t enough_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::vector<Piece>> waiting_;
  std::size_t count_ = 0;
  std::size_t idle_ = 0;
  bool isClosed_ = false;
};

}  // namespace qrt
