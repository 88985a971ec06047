// Comparing texts without regard to case.
#pragma once

#include <compare>
#include <string_view>

namespace qrt {

/// The order of two UTF-8 texts by their characters in lower case. Each byte that is not valid
/// counts as a character of its own, after all others.
std::weak_ordering compareIgnoringCase(std::string_view a, std::string_view b);

}  // namespace qrt
