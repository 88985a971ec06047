// Reading UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace qrt {

struct Utf8Character {
  /// In bytes; 0 if the text does not begin with a valid sequence.
  std::size_t length = 0;
  char32_t codePoint = 0;
};

/// The first character of `text`, which must not be empty. Overlong forms, surrogates and values
/// above U+10FFFF are invalid.
Utf8Character firstUtf8Character(std::string_view text);

bool isValidUtf8(std::string_view text);

/// The length in UTF-16 units, as the contract counts texts. An invalid byte counts as one unit.
std::size_t utf16Length(std::string_view text);

}  // namespace qrt
