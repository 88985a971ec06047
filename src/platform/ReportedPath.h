// How a resolved path is shown to people and programs.
#pragma once

#include <string>

namespace qrt {

/// As the system's own programs show it. Objects are opened by the resolved path itself.
std::string reportedPath(const std::string& resolved);

}  // namespace qrt
