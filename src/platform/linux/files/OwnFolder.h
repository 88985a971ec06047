// Folders that no other user may have planted.
#pragma once

#include <sys/types.h>

#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// Opens a folder in an open one. Does not follow a link. A folder of another owner is
/// `permissionDenied`.
PosixResult<FileDescriptor> openOwnFolder(int parent, const char* name, uid_t owner);

/// The same, but makes a missing folder, which all users may read.
PosixResult<FileDescriptor> makeOwnFolder(int parent, const char* name, uid_t owner);

}  // namespace qrt
