// The texts of symbolic links.
#pragma once

#include <string>

#include "base/Result.h"

namespace qrt {

/// The text of the link at `path`, relative to an open folder or to AT_FDCWD.
PosixResult<std::string> linkTarget(int folder, const char* path);

}  // namespace qrt
