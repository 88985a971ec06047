// What is valid UTF-8 and what is not.
#pragma once

#include <cstddef>
#include <string_view>

namespace qrt {

struct Utf8Character {
  /// Bytes the character takes; 0 when the text does not begin with a valid sequence.
  std::size_t length = 0;
  char32_t codePoint = 0;
};

/// The character that `text` begins with. Overlong forms, surrogates and values above U+10FFFF are
/// not valid. `text` must not be empty.
Utf8Character firstUtf8Character(std::string_view text);

bool isValidUtf8(std::string_view text);

/// Length in the units that the platform counts texts in. Bytes that are not valid count one each.
std::size_t utf16Length(std::string_view text);

}  // namespace qrt
