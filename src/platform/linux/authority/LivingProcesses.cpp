#include "platform/linux/authority/LivingProcesses.h"

namespace qrt {

bool LivingProcesses::contains(const PeerIdentity& process) {
  const std::lock_guard guard(mutex_);
  const auto known = kept_.find(process.processID);
  if (known != kept_.end()) {
    if (known->second.identity == process && isRunning(known->second.handle)) return true;
    kept_.erase(known);
  }
  auto handle = openProcess(process);
  if (!handle) return false;
  if (kept_.size() >= maximumKept) kept_.clear();
  kept_.emplace(process.processID, Kept{process, std::move(*handle)});
  return true;
}

}  // namespace qrt
