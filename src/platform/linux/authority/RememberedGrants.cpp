#include "platform/linux/authority/RememberedGrants.h"

#include <algorithm>

namespace qrt {

void RememberedGrants::add(const PeerIdentity& process, const std::string& right,
                           Clock::time_point now) {
  const std::lock_guard guard(mutex_);
  std::erase_if(grants_, [&](const Grant& grant) { return grant.end <= now; });
  if (grants_.size() >= maximumKept) grants_.erase(grants_.begin());
  grants_.push_back({process, right, now + lifetime});
}

bool RememberedGrants::contains(const PeerIdentity& process, const std::string& right,
                                Clock::time_point now) {
  const std::lock_guard guard(mutex_);
  return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
    return grant.process == process && grant.right == right && now < grant.end;
  });
}

void RememberedGrants::forget(const PeerIdentity& process) {
  const std::lock_guard guard(mutex_);
  std::erase_if(grants_, [&](const Grant& grant) { return grant.process == process; });
}

}  // namespace qrt
