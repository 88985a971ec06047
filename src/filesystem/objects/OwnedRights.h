// Owner and access rights of an object, read together.
#pragma once

#include "platform/AccessControl.h"
#include "platform/FileStatus.h"

namespace qrt {

/// Both belong to one moment. Read separately, the owner could be the former one and the
/// permissions could be those that the new owner has chosen: together they make a program that runs
/// as the former owner with the new owner's contents.
struct OwnedRights {
  FileStatus status;
  AccessRights rights;
};

/// `tryAgain` for an object whose owner changes again and again.
PosixResult<OwnedRights> ownedRights(AccessControl& control, const HeldObject& object);

}  // namespace qrt
