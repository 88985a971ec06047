// Facts about the running system and its processes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qrt {

struct Platform;

/// The version facts are read once and kept for the process, whichever platform asks first; all
/// functions are thread-safe.
namespace NSProcessInfoQRTAdditions {

/// Reads the version file anew.
void updateVersionInfo(const Platform& platform);

/// Four hexadecimal digits: 0x10C0 is 10.12. 0x1000 when nothing is known.
std::int64_t operatingSystemVersionCode(const Platform& platform);

/// Empty when nothing is known.
std::string operatingSystemProductName(const Platform& platform);
std::string operatingSystemMarketingName(const Platform& platform);
std::string operatingSystemVersionNumberString(const Platform& platform);
std::string operatingSystemBuildCode(const Platform& platform);

/// Whether texts shall use their polite variant.
bool shouldUIUsePoliteForms(const Platform& platform);

/// None for an empty name and when the process table cannot be read. Names are compared as far as
/// the kernel keeps them.
std::optional<std::vector<std::int32_t>> identifiersForRunningProcessesNamed(
    const Platform& platform, const std::string& name);
bool isProcessRunningWithName(const Platform& platform, const std::string& name);

/// The process's short command name; none, and `*getEffectiveUserID` untouched, when there is no
/// such process.
std::optional<std::string> processNameForProcessID(const Platform& platform,
                                                   std::int32_t identifier,
                                                   std::uint32_t* getEffectiveUserID = nullptr);

}  // namespace NSProcessInfoQRTAdditions
}  // namespace qrt
