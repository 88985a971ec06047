// The status of an object from `statx`.
#pragma once

#include "base/Result.h"
#include "platform/FileStatus.h"

namespace qrt {

/// `flags` are those of `statx`.
PosixResult<FileStatus> objectStatus(int folder, const char* name, int flags);

}  // namespace qrt
