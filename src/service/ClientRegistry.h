// The client processes that have announced themselves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>

namespace qrt {

/// A set of process identifiers as the clients state them. Each counts against the user whose
/// process was the first to state it, until anybody takes it back. Thread-safe; the lock is held
/// for the set's own work only.
class ClientRegistry {
 public:
  /// Far more processes than anybody has that work with the daemon, and few bytes.
  static constexpr std::size_t maximumOfOneUser = 1024;

  /// False when that user has no room for a further identifier. One that is there is there for
  /// everybody; root is not bound.
  [[nodiscard]] bool add(std::int32_t identifier, std::uint32_t user) {
    const std::lock_guard lock(clientSetLock_);
    if (clientSet_.contains(identifier)) return true;
    const auto mine = counts_.find(user);
    if (user != 0 && mine != counts_.end() && mine->second >= maximumOfOneUser) return false;
    clientSet_.emplace(identifier, user);
    ++counts_[user];
    return true;
  }

  /// Returns how many clients remain. An identifier that is not there is ignored.
  std::size_t remove(std::int32_t identifier) {
    const std::lock_guard lock(clientSetLock_);
    take(identifier);
    return clientSet_.size();
  }

  /// Removes an identifier and keeps the registry closed for as long as the lock lives.
  std::unique_lock<std::mutex> removeAndHold(std::int32_t identifier) {
    std::unique_lock lock(clientSetLock_);
    take(identifier);
    return lock;
  }

  std::set<std::int32_t> clientSet() const {
    const std::lock_guard lock(clientSetLock_);
    std::set<std::int32_t> identifiers;
    for (const auto& [identifier, user] : clientSet_) identifiers.insert(identifier);
    return identifiers;
  }

 private:
  void take(std::int32_t identifier) {
    const auto client = clientSet_.find(identifier);
    if (client == clientSet_.end()) return;
    const auto count = counts_.find(client->second);
    if (--count->second == 0) counts_.erase(count);
    clientSet_.erase(client);
  }

  mutable std::mutex clientSetLock_;
  /// Each with the user that it counts against.
  std::map<std::int32_t, std::uint32_t> clientSet_;
  std::map<std::uint32_t, std::size_t> counts_;
};

}  // namespace qrt
