#include "platform/WorkerPool.h"

#include <algorithm>

namespace qrt {

void WorkerPool::join(std::uint32_t user) {
  const std::lock_guard lock(mutex_);
  ++accounts_[user].requests;
}

void WorkerPool::leave(std::uint32_t user) {
  const std::lock_guard lock(mutex_);
  const auto account = accounts_.find(user);
  if (--account->second.requests == 0) accounts_.erase(account);
}

bool WorkerPool::take(std::uint32_t user) {
  const std::lock_guard lock(mutex_);
  auto& threads = accounts_.at(user).threads;
  if (inUse_ == size || threads >= part()) return false;
  ++threads;
  ++inUse_;
  return true;
}

void WorkerPool::giveBack(std::uint32_t user) {
  const std::lock_guard lock(mutex_);
  --accounts_.at(user).threads;
  --inUse_;
}

bool WorkerPool::isOverdrawn(std::uint32_t user) const {
  const std::lock_guard lock(mutex_);
  return accounts_.at(user).threads > part();
}

std::size_t WorkerPool::part() const { return std::max<std::size_t>(1, size / accounts_.size()); }

}  // namespace qrt
