// What symbolic links hold.
#pragma once

#include <string>

#include "base/Result.h"

namespace qrt {

/// Of the link at a path from an open folder, or from AT_FDCWD.
PosixResult<std::string> linkTarget(int folder, const char* path);

}  // namespace qrt
