// The users that an object may belong to without being an orphan.
#pragma once

#include <cstdint>

#include "platform/UserDirectory.h"

namespace qrt {

/// The ids of all users that the system can list.
UserIDs allKnownUserIDs(UserDirectory& users);

/// A set of user ids that asks for those it lacks. Belongs to one thread.
class KnownUserIDs {
 public:
  /// Without `users`, which is not owned, the ids are all that is known.
  explicit KnownUserIDs(UserIDs ids, UserDirectory* users = nullptr);

  bool isEmpty() const { return known_.empty(); }
  /// The directory is asked once about each id.
  bool contains(std::uint32_t userID);

 private:
  UserIDs known_;
  UserIDs unknown_;
  UserDirectory* users_;
};

}  // namespace qrt
