#include "filesystem/walk/KnownUserIDs.h"

#include <utility>

namespace qrt {

UserIDs allKnownUserIDs(UserDirectory& users) { return users.listedUserIDs(); }

KnownUserIDs::KnownUserIDs(UserIDs ids, UserDirectory* users)
    : known_(std::move(ids)), users_(users) {}

bool KnownUserIDs::contains(std::uint32_t userID) {
  if (known_.contains(userID)) return true;
  if (users_ == nullptr || unknown_.contains(userID)) return false;
  const bool isKnown = users_->isKnownUserID(userID);
  (isKnown ? known_ : unknown_).insert(userID);
  return isKnown;
}

}  // namespace qrt
