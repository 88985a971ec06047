// Folders that a user must not have planted for another.
#pragma once

#include <sys/types.h>

#include "base/Result.h"
#include "platform/FileDescriptor.h"

namespace qrt {

/// Opens a folder in an open one. A link is not followed, and a folder of anybody but `owner` is
/// `permissionDenied`.
PosixResult<FileDescriptor> openOwnFolder(int parent, const char* name, uid_t owner);

/// The same, making it first if need be, for all to read.
PosixResult<FileDescriptor> makeOwnFolder(int parent, const char* name, uid_t owner);

}  // namespace qrt
