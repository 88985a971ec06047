// The kernel's table of mounted file systems.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qrt {

/// The place of the mount with that number. Empty when the table has no such mount.
std::optional<std::string> mountPointIn(std::string_view table, std::uint64_t mountID);

/// The place of the first mount of a device, by its number ("8:1") or its path. A file system on
/// several devices has a number of its own, so that only the path leads to it.
std::optional<std::string> mountPointOfDevice(std::string_view table, std::string_view number,
                                              std::string_view path);

}  // namespace qrt
