#include "platform/posix/propertylists/Utf16.h"

namespace qrt {

void appendUtf8(std::string& text, char32_t character) {
  if (character < 0x80) {
    text.push_back(static_cast<char>(character));
    return;
  }
  const int continuations = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  const char32_t lead = 0x780u >> continuations & 0xF0;
  text.push_back(static_cast<char>(lead | character >> 6 * continuations));
  for (int i = continuations - 1; i >= 0; --i) {
    text.push_back(static_cast<char>(0x80 | (character >> 6 * i & 0x3F)));
  }
}

std::optional<std::string> utf8FromUtf16(std::span<const std::uint8_t> bytes, std::endian order) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  const std::size_t highByte = order == std::endian::big ? 0 : 1;
  const auto unitAt = [&](std::size_t i) -> char32_t {
    return static_cast<char32_t>(bytes[i + highByte] << 8 | bytes[i + 1 - highByte]);
  };

  std::string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    char32_t character = unitAt(i);
    if (isLowSurrogate(character)) return std::nullopt;
    if (isHighSurrogate(character)) {
      i += 2;
      if (i == bytes.size() || !isLowSurrogate(unitAt(i))) return std::nullopt;
      character = characterFromSurrogates(character, unitAt(i));
    }
    appendUtf8(text, character);
  }
  return text;
}

}  // namespace qrt
