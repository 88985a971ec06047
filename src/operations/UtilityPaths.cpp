#include "operations/UtilityPaths.h"

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

}  // namespace

std::span<const std::string_view> utilityPaths() { return paths; }

}  // namespace qrt
