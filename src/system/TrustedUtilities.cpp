#include "system/TrustedUtilities.h"

#include "base/Path.h"
#include "platform/UtilityPlaces.h"

namespace qrt {
namespace {

const std::string_view paths[] = {
    "/usr/bin/dscacheutil",
    "/bin/chmod",
    pathOfChown,
    "/usr/bin/update_dyld_shared_cache",
    "/usr/bin/ditto",
    "/usr/sbin/diskutil",
    "/usr/bin/mdutil",
    "/usr/bin/atsutil",
    "/bin/launchctl",
    "/usr/sbin/cupsctl",
    "/usr/bin/tmutil",
    "/usr/libexec/xpchelper",
    "/usr/sbin/kextcache",
    "/usr/bin/pmset",
    "/usr/bin/log",
    "/usr/sbin/softwareupdate",
};

/// The only utility that finds programs by name. It is no longer in the table.
constexpr std::string_view utilityWithSafePath = "periodic";

}  // namespace

const std::span<const std::string_view> TrustedUtilities::standardPaths = paths;

TrustedUtilities::TrustedUtilities(std::span<const std::string_view> utilityPaths) {
  for (const auto path : utilityPaths) pathsByName_.emplace(path::lastComponent(path), path);
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
