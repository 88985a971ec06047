// Foreign text for a terminal or a log.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// The text with each byte of a control character or of invalid UTF-8 as "\xNN", so that a file
/// name cannot move the cursor or end a line. Longer texts end after the last character that fits
/// into `limit` bytes.
std::string printable(std::string_view text, std::size_t limit = std::string_view::npos);

}  // namespace qrt
