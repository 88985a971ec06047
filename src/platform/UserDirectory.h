// The users that the system knows.
#pragma once

#include <cstdint>
#include <unordered_set>

namespace qrt {

using UserIDs = std::unordered_set<std::uint32_t>;

/// Thread-safe. A call may take as long as a directory server on the network does.
class UserDirectory {
 public:
  virtual ~UserDirectory() = default;

  /// The ids of the users that can be listed, hidden ones included: all of the password database
  /// (setpwent, getpwent, endpwent, one thread at a time) and, on macOS, those of the default
  /// identity authority (CSIdentityQuery for users with kCSIdentityQueryIncludeHiddenIdentities).
  /// A source that cannot be read adds none; directory services often list nobody.
  virtual UserIDs listedUserIDs() = 0;

  /// Whether one user is known, listed or not (getpwuid_r on both ports). A lookup that fails
  /// counts as known: a silent server makes nobody's files ownerless.
  virtual bool isKnownUserID(std::uint32_t userID) = 0;
};

}  // namespace qrt
