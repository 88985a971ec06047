// The system's own words for an error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qrt {

/// For a code of "NSPOSIXErrorDomain", in the user's language. Nothing for a code that this system
/// does not have.
std::optional<std::string> systemErrorText(std::int64_t code);

}  // namespace qrt
