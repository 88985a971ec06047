// Foreign text for a terminal or a log.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// Whether the character is neither a control of ASCII or Latin-1, nor a bidirectional control, nor
/// a separator of lines.
bool isPrintable(char32_t character);

/// The text with each byte of an unprintable character or of invalid UTF-8 as "\xNN", so that a
/// file name cannot move the cursor, end a line or show its characters in another order. Longer
/// texts end after the last character that fits into `limit` bytes.
std::string printable(std::string_view text, std::size_t limit = std::string_view::npos);

}  // namespace qrt
