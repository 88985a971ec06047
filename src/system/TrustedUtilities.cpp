#include "system/TrustedUtilities.h"

#include "base/Path.h"

namespace qrt {
namespace {

/// The only utility that finds programs by name. It is no longer in the table.
constexpr std::string_view utilityWithSafePath = "periodic";

}  // namespace

TrustedUtilities::TrustedUtilities(std::span<const std::string_view> paths) {
  for (const auto path : paths) pathsByName_.emplace(path::lastComponent(path), path);
}

std::optional<std::string> TrustedUtilities::trustedPathForApplicationPath(
    std::string_view applicationPath, std::string_view utilityName, bool* isExternal,
    bool* needsSafePathEnvironment) const {
  if (applicationPath.empty() || utilityName.empty()) return std::nullopt;
  const auto found = pathsByName_.find(utilityName);
  if (isExternal) *isExternal = true;
  if (needsSafePathEnvironment) *needsSafePathEnvironment = utilityName == utilityWithSafePath;
  if (found == pathsByName_.end()) return std::nullopt;
  return std::string(found->second);
}

}  // namespace qrt
