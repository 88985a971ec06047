// Whose an object is, together with who may do what with it.
#pragma once

#include "platform/AccessControl.h"
#include "platform/FileStatus.h"

namespace qrt {

/// Both of one time. Separately read, the owner could be the one from before the object was given
/// to another user, and the permissions those that this user has chosen since: together they would
/// be a program that runs as the old owner with the new one's contents.
struct OwnedRights {
  FileStatus status;
  AccessRights rights;
};

/// `tryAgain` for an object whose owner changes again and again.
PosixResult<OwnedRights> ownedRights(AccessControl& control, const HeldObject& object);

}  // namespace qrt
