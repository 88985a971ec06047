#include "base/Utf8.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace qrt {
namespace {

/// The part of the text before its first byte that is not ASCII, rounded down to whole words.
std::size_t lengthOfAscii(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t length = 0;
  for (std::uint64_t word; length + sizeof word <= text.size(); length += sizeof word) {
    std::memcpy(&word, text.data() + length, sizeof word);
    if ((word & highBits) != 0) break;
  }
  return length;
}

}  // namespace

Utf8Character firstUtf8Character(std::string_view text) {
  const auto lead = static_cast<std::uint8_t>(text.front());
  if (lead < 0x80) return {1, lead};

  struct Form {
    std::uint8_t mask, pattern;
    char32_t smallest;
  };
  static constexpr std::array<Form, 3> forms{
      {{0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};
  for (std::size_t i = 0; i < forms.size(); ++i) {
    const std::size_t length = i + 2;
    if ((lead & forms[i].mask) != forms[i].pattern) continue;
    if (text.size() < length) return {};
    char32_t codePoint = lead & static_cast<std::uint8_t>(~forms[i].mask);
    for (std::size_t k = 1; k < length; ++k) {
      const auto next = static_cast<std::uint8_t>(text[k]);
      if ((next & 0xC0) != 0x80) return {};
      codePoint = codePoint << 6 | (next & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < forms[i].smallest || codePoint > 0x10FFFF || surrogate) return {};
    return {length, codePoint};
  }
  return {};
}

bool isValidUtf8(std::string_view text) {
  text.remove_prefix(lengthOfAscii(text));
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    if (character.length == 0) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t length = 0;
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    length += character.codePoint > 0xFFFF ? 2 : 1;
    text.remove_prefix(character.length == 0 ? 1 : character.length);
  }
  return length;
}

}  // namespace qrt
