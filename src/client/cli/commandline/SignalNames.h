// Signals by name.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qrt {

/// The platform's number for "TERM" or "SIGTERM", in upper or lower case.
std::optional<std::int32_t> signalNumber(std::string_view name);

/// "TERM" and all others.
std::vector<std::string_view> signalNames();

}  // namespace qrt
