// An object's status as Linux tells it.
#pragma once

#include "base/Result.h"
#include "platform/FileStatus.h"

namespace qrt {

/// `flags` are those of `statx`.
PosixResult<FileStatus> objectStatus(int folder, const char* name, int flags);

}  // namespace qrt
