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
  static constexpr std::size_t maximumOfOneUser = 64;

  /// A place taken; given back when it goes.
  class Place {
   public:
    Place(ConnectionQuota& quota, std::uint32_t user) : quota_(quota), user_(user) {}
    ~Place() { quota_.leave(user_); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

   private:
    ConnectionQuota& quota_;
    std::uint32_t user_;
  };

  /// Null when there is no place left for that user. Root is bound only by the total.
  std::unique_ptr<Place> enter(std::uint32_t user) {
    const std::lock_guard guard(mutex_);
    const auto mine = places_.find(user);
    const bool userIsFull = user != 0 && mine != places_.end() && mine->second >= maximumOfOneUser;
    if (total_ >= maximumInAll || userIsFull) return nullptr;
    auto place = std::make_unique<Place>(*this, user);
    ++total_;
    ++places_[user];
    return place;
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
