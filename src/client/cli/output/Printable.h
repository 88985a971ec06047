// Foreign text for a person's eyes.
#pragma once

#include <string>
#include <string_view>

namespace qrt {

/// The text with control characters and bytes that are no UTF-8 written as "\xNN", so that a file's
/// name cannot move the cursor or end a line.
std::string printable(std::string_view text);

}  // namespace qrt
