// How a resolved path is reported to clients.
#pragma once

#include <string>

namespace qrt {

/// The path as the system's programs show it. Only for reports: objects are opened by `resolved`.
std::string reportedPath(const std::string& resolved);

}  // namespace qrt
