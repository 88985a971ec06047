// The threads that help requests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

namespace qrt {

/// Counts the threads of the process that work beside the thread of a request. The users whose
/// requests want them share them equally. Thread-safe.
class WorkerPool {
 public:
  static constexpr std::size_t size = 16;

  WorkerPool() = default;
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// A request of the user that may want helpers begins and ends.
  void join(std::uint32_t user);
  void leave(std::uint32_t user);

  /// For a user that joined. False when all threads of the pool, or of the user's part, are in use.
  bool take(std::uint32_t user);
  void giveBack(std::uint32_t user);

  /// Whether the user has more than its part, because other users came later.
  bool isOverdrawn(std::uint32_t user) const;

 private:
  struct Account {
    std::size_t requests = 0;
    std::size_t threads = 0;
  };

  /// At least 1.
  std::size_t part() const;

  mutable std::mutex mutex_;
  std::map<std::uint32_t, Account> accounts_;
  std::size_t inUse_ = 0;
};

/// The pool as one user sees it. Refers to the pool.
struct WorkerShare {
  WorkerPool& pool;
  std::uint32_t user = 0;
};

}  // namespace qrt
