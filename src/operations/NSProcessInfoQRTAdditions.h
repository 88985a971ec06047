// The version of the running system, and its processes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qrt {

struct Platform;

/// The version file is read once in a process, through the platform of the first call. All
/// functions are thread-safe.
namespace NSProcessInfoQRTAdditions {

/// Reads the version file again.
void updateVersionInfo(const Platform& platform);

/// Four hexadecimal digits: 0x10C0 is 10.12. 0x1000 without a version file.
std::int64_t operatingSystemVersionCode(const Platform& platform);

/// Empty without a version file.
std::string operatingSystemProductName(const Platform& platform);
std::string operatingSystemMarketingName(const Platform& platform);
std::string operatingSystemVersionNumberString(const Platform& platform);
std::string operatingSystemBuildCode(const Platform& platform);

/// Whether texts shall use their polite variant.
bool shouldUIUsePoliteForms(const Platform& platform);

/// Nothing for an empty name and if the process table cannot be read. Names are compared up to the
/// length that the kernel keeps.
std::optional<std::vector<std::int32_t>> identifiersForRunningProcessesNamed(
    const Platform& platform, const std::string& name);
bool isProcessRunningWithName(const Platform& platform, const std::string& name);

/// The process's short command name. Without such a process it is nothing, and
/// `*getEffectiveUserID` stays as it was.
std::optional<std::string> processNameForProcessID(const Platform& platform,
                                                   std::int32_t identifier,
                                                   std::uint32_t* getEffectiveUserID = nullptr);

}  // namespace NSProcessInfoQRTAdditions
}  // namespace qrt
