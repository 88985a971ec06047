// An object's status as this system reports it.
#pragma once

#include <sys/stat.h>

#include "base/Result.h"
#include "platform/FileStatus.h"
#include "platform/FileSystem.h"

namespace qrt {

PosixResult<FileStatus> objectStatus(int folder, const char* name, Links links);

PosixResult<FileStatus> objectStatus(int object);

/// As the system has it, of an object however it is held.
PosixResult<struct stat> nativeStatus(const HeldObject& object);

}  // namespace qrt
