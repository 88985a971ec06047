#include "filesystem/objects/OwnedRights.h"

namespace qrt {

PosixResult<OwnedRights> ownedRights(AccessControl& control, const HeldObject& object) {
  constexpr int attempts = 16;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    const auto status = object.status();
    if (!status) return status.error();
    auto rights = control.rights(object, *status);
    if (!rights) return rights.error();
    const auto after = object.status();
    if (!after) return after.error();
    if (after->hasSameOwnerAs(*status)) return OwnedRights{*status, std::move(*rights)};
  }
  return PosixCode::tryAgain;
}

}  // namespace qrt
