#include "platform/ReportedPath.h"

#include <unistd.h>

#include <string_view>

namespace qrt {

/// The folders etc, tmp and var are links into /private: without it the path leads to the same.
std::string reportedPath(const std::string& resolved) {
  constexpr std::string_view prefix = "/private";
  if (!resolved.starts_with(std::string(prefix) + "/")) return resolved;
  auto rest = resolved.substr(prefix.size());
  return ::access(rest.c_str(), F_OK) == 0 ? rest : resolved;
}

}  // namespace qrt
