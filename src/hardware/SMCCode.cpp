#include "hardware/SMCCode.h"

#include "base/Utf8.h"

namespace qrt {

SMCCode smcCodeFromText(std::string_view text) {
  if (utf16Length(text) != 4) return 0;
  const auto extended = [&](std::size_t place) {
    return static_cast<SMCCode>(static_cast<std::int8_t>(text[place])) << (24 - 8 * place);
  };
  return extended(0) | extended(1) | extended(2) | extended(3);
}

std::string textOfSMCCode(SMCCode code) {
  std::string characters;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto character = static_cast<char>(code >> shift);
    if (character == '\0') break;
    characters.push_back(character);
  }
  characters.resize(4, ' ');
  return textOfEightBitCharacters(characters);
}

std::string textOfEightBitCharacters(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    const auto codePoint = static_cast<std::uint8_t>(byte);
    if (codePoint < 0x80) {
      text.push_back(byte);
    } else {
      text.push_back(static_cast<char>(0xC0 | codePoint >> 6));
      text.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
    }
  }
  return text;
}

}  // namespace qrt
