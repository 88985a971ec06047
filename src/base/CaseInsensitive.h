// Texts compared without regard to case.
#pragma once

#include <compare>
#include <string_view>

namespace qrt {

/// The order of two UTF-8 texts, character by character, when all of them are lower case. Bytes
/// that are not valid stand for characters of their own.
std::weak_ordering compareIgnoringCase(std::string_view a, std::string_view b);

}  // namespace qrt
