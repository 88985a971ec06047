// Colour on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

enum class Color { red, yellow, green };

/// The text between the control sequences that a terminal needs to show it in that colour.
std::string colored(Color color, std::string_view text);

}  // namespace qrt
