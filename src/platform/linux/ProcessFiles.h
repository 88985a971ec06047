// Reads the kernel's text files about a process.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qrt {

/// The short command name in the contents of "stat". The name may itself hold spaces, parentheses
/// and line ends.
std::optional<std::string_view> commandNameInStat(std::string_view contents);

/// True when the contents of "stat" are those of a process that has ended.
bool isZombieInStat(std::string_view contents);

/// The start time in the contents of "stat", in clock ticks after the system's start.
std::optional<std::uint64_t> startTimeInStat(std::string_view contents);

/// The effective user in the contents of "status".
std::optional<std::uint32_t> effectiveUserInStatus(std::string_view contents);

}  // namespace qrt
