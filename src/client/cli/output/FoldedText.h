// Text that fits the width of a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qrt {

/// Breaks each longer line between words. What follows is below the last column of the line, or, if
/// that would leave little room, indented a little. A longer word stays whole.
std::string folded(std::string_view text, std::size_t width);

}  // namespace qrt
