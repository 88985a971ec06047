// Colour for a person at a terminal.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

enum class Color { red, yellow, green };

/// The text, and what makes a terminal show it in that colour.
std::string colored(Color color, std::string_view text);

}  // namespace qrt
