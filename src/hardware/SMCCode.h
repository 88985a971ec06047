// Four-character codes of the System Management Controller: names of keys and of types.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qrt {

/// The first character is the most significant byte. All four bytes count: "ui8 " and "ui8\0" are
/// different codes.
using SMCCode = std::uint32_t;

/// The code of a literal of four characters.
consteval SMCCode smcCode(const char (&text)[5]) {
  SMCCode code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<std::uint8_t>(text[i]);
  return code;
}

/// 0 unless the text has exactly four characters. Bytes after the first are sign-extended before
/// they are combined: a byte of 0x80 or above sets all bits above its place.
SMCCode smcCodeFromText(std::string_view text);

/// The code's characters up to the first zero byte, padded with spaces to four.
std::string textOfSMCCode(SMCCode code);

/// Bytes as text, each a character of Latin-1.
std::string textOfEightBitCharacters(std::string_view bytes);

}  // namespace qrt
