// Folders in which nothing belongs to anybody.
#pragma once

#include <string>

#include "filesystem/walk/KnownUserIDs.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"

namespace qrt {

/// True for a folder with nothing in it, and for one that holds, on its own file system, only
/// objects of users that are not in the set. False for an empty path, an empty set, and when the
/// folder or an object in it cannot be looked at.
bool isFolderAtPath(FileSystem& files, Log& log, const std::string& path,
                    KnownUserIDs& emptyOrAllContentsNotOwnedByUsersInSet);

/// The same for a folder that a walk has come upon; its path is only told. The error is that
/// descriptors or memory ran out.
PosixResult<bool> isFolderAtObject(FileSystem& files, Log& log, FileAt folder,
                                   const std::string& path,
                                   KnownUserIDs& emptyOrAllContentsNotOwnedByUsersInSet);

}  // namespace qrt
