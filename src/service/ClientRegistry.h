// The client processes that have announced themselves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>

namespace qrt {

/// A set of process identifiers as the clients state them. Thread-safe; the lock is held for the
/// set's own work only.
class ClientRegistry {
 public:
  void add(std::int32_t identifier) {
    const std::lock_guard lock(clientSetLock_);
    clientSet_.insert(identifier);
  }

  /// Returns how many clients remain. An identifier that is not there is ignored.
  std::size_t remove(std::int32_t identifier) {
    const std::lock_guard lock(clientSetLock_);
    clientSet_.erase(identifier);
    return clientSet_.size();
  }

  /// Removes an identifier and keeps the registry closed for as long as the lock lives.
  std::unique_lock<std::mutex> removeAndHold(std::int32_t identifier) {
    std::unique_lock lock(clientSetLock_);
    clientSet_.erase(identifier);
    return lock;
  }

  std::set<std::int32_t> clientSet() const {
    const std::lock_guard lock(clientSetLock_);
    return clientSet_;
  }

 private:
  mutable std::mutex clientSetLock_;
  std::set<std::int32_t> clientSet_;
};

}  // namespace qrt
