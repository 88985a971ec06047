// How many connections the daemon serves at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace qrt {

/// Counts the connections of each user. Thread-safe.
class ConnectionQuota {
 public:
  static constexpr std::size_t maximumInAll = 512;
  /// The last places of all.
  static constexpr std::size_t reservedForRoot = 32;
  static constexpr std::size_t maximumOfOneUser = 64;

  struct Leave {
    std::uint32_t user = 0;
    void operator()(ConnectionQuota* quota) const { quota->leave(user); }
  };
  /// A place, taken until this is destroyed. Null when there was no place.
  using Place = std::unique_ptr<ConnectionQuota, Leave>;

  /// Null when no place is left for that user. Only the total limits root. Makes no system call, so
  /// that a refusal costs little.
  Place enter(std::uint32_t user) {
    const std::lock_guard guard(mutex_);
    const auto mine = places_.find(user);
    const bool isRoot = user == 0;
    const bool userIsFull = !isRoot && mine != places_.end() && mine->second >= maximumOfOneUser;
    const auto open = isRoot ? maximumInAll : maximumInAll - reservedForRoot;
    if (total_ >= open || userIsFull) return nullptr;
    ++total_;
    ++places_[user];
    return Place(this, Leave{user});
  }

 private:
  void leave(std::uint32_t user) {
    const std::lock_guard guard(mutex_);
    --total_;
    if (--places_[user] == 0) places_.erase(user);
  }

  std::mutex mutex_;
  std::size_t total_ = 0;
  std::map<std::uint32_t, std::size_t> places_;
};

}  // namespace qrt
