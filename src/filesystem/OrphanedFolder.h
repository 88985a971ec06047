// Folders whose objects all belong to unknown users.
#pragma once

#include <string>

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/UserDirectory.h"

namespace qrt {

/// The ids of all users that the system can list.
UserIDs allKnownUserIDs(UserDirectory& users);

/// A set of user ids that asks a directory for the ids it lacks. Belongs to one thread.
class KnownUserIDs {
 public:
  /// `users` is not owned. Without it the set is only `ids`.
  explicit KnownUserIDs(UserIDs ids, UserDirectory* users = nullptr);

  bool isEmpty() const { return known_.empty(); }

  /// Asks the directory once about each id.
  bool contains(std::uint32_t userID);

 private:
  UserIDs known_;
  UserIDs unknown_;
  UserDirectory* users_;
};

/// True for an empty folder, and for a folder that holds, on its own file system, only objects of
/// users that are not in the set. False for an empty path, an empty set, and when the folder or an
/// object in it cannot be read.
bool isFolderAtPath(const Platform& platform, const std::string& path,
                    KnownUserIDs& emptyOrAllContentsNotOwnedByUsersInSet);

/// The same for a folder that a walk has found; its path is only for the log. The error is that
/// descriptors or memory ran out.
PosixResult<bool> isFolderAtObject(const Platform& platform, FileAt folder, const std::string& path,
                                   KnownUserIDs& emptyOrAllContentsNotOwnedByUsersInSet);

}  // namespace qrt
