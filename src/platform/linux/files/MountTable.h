// The kernel's table of mounted file systems.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qrt {

/// The place of the mount with that number. Empty when the table has no such mount.
std::optional<std::string> mountPointIn(std::string_view table, std::uint64_t mountID);

}  // namespace qrt
