// An object's status as this system tells it.
#pragma once

#include "base/Result.h"
#include "platform/FileStatus.h"
#include "platform/FileSystem.h"

namespace qrt {

PosixResult<FileStatus> objectStatus(int folder, const char* name, Links links);

PosixResult<FileStatus> objectStatus(int object);

}  // namespace qrt
