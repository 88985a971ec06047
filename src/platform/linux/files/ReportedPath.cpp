#include "platform/ReportedPath.h"

namespace qrt {

std::string reportedPath(const std::string& resolved) { return resolved; }

}  // namespace qrt
