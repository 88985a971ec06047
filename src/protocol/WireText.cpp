#include "protocol/WireText.h"

#include "base/Utf8.h"

namespace qrt {
namespace {

constexpr char32_t firstByteCharacter = 0x10FF00;
constexpr char32_t firstDecodedCharacter = firstByteCharacter + 0x80;

/// The first two bytes of every character of the range.
constexpr std::string_view rangePrefix = "\xF4\x8F";

void appendByteCharacter(std::string& text, char byte) {
  const char32_t codePoint = firstByteCharacter + static_cast<unsigned char>(byte);
  text.append(rangePrefix);
  text.push_back(static_cast<char>(0x80 | (codePoint >> 6 & 0x3F)));
  text.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
}

}  // namespace

bool isWireText(std::string_view bytes) {
  const bool special = bytes.find(rangePrefix) != std::string_view::npos ||
                       bytes.find('\0') != std::string_view::npos;
  return !special && isValidUtf8(bytes);
}

std::string encodeWireText(std::string_view bytes) {
  if (isWireText(bytes)) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size() + 16);
  while (!bytes.empty()) {
    const auto character = firstUtf8Character(bytes);
    const std::size_t length = character.length == 0 ? 1 : character.length;
    const bool plain = character.length != 0 && character.codePoint != 0 &&
                       character.codePoint < firstByteCharacter;
    for (const char byte : bytes.substr(0, length)) {
      if (plain) {
        text.push_back(byte);
      } else {
        appendByteCharacter(text, byte);
      }
    }
    bytes.remove_prefix(length);
  }
  return text;
}

std::string decodeWireText(std::string_view text) {
  if (text.find(rangePrefix) == std::string_view::npos) return std::string(text);
  std::string bytes;
  bytes.reserve(text.size());
  while (!text.empty()) {
    const auto character = firstUtf8Character(text);
    const std::size_t length = character.length == 0 ? 1 : character.length;
    if (character.codePoint >= firstDecodedCharacter) {
      bytes.push_back(static_cast<char>(character.codePoint - firstByteCharacter));
    } else {
      bytes.append(text.substr(0, length));
    }
    text.remove_prefix(length);
  }
  return bytes;
}

}  // namespace qrt
