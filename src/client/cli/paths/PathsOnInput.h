// The paths that standard input holds.
#pragma once

#include <string>
#include <vector>

#include "client/cli/commandline/UsageError.h"

namespace qrt {

/// A zero byte ends each path; the last path may lack it. Any other byte is part of a path. An
/// empty path, or one that no system accepts, means that the input is something else: nothing is
/// done then.
UsageResult<std::vector<std::string>> pathsOnStandardInput();

}  // namespace qrt
