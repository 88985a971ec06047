// The users of the system.
#pragma once

#include <cstdint>
#include <unordered_set>

namespace qrt {

using UserIDs = std::unordered_set<std::uint32_t>;

/// Thread-safe. A call can take as long as a directory server on the network takes to answer.
class UserDirectory {
 public:
  virtual ~UserDirectory() = default;

  /// The ids of the users that can be listed, hidden ones included: all of the password database
  /// (setpwent, getpwent, endpwent, one thread at a time) and, on macOS, those of the default
  /// identity authority (CSIdentityQuery for users with kCSIdentityQueryIncludeHiddenIdentities).
  /// An unreadable source adds no users; directory services often list none.
  virtual UserIDs listedUserIDs() = 0;

  /// Whether a user exists, listed or not (getpwuid_r on both ports). A lookup that fails counts as
  /// "exists": files must not become ownerless because a server does not answer.
  virtual bool isKnownUserID(std::uint32_t userID) = 0;
};

}  // namespace qrt
