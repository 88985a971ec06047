#include "base/Base64.h"

#include <algorithm>

namespace qrt {
namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view blanks = " \t\r\n";
constexpr char padding = '=';
constexpr std::size_t bytesOfGroup = 3;
constexpr std::size_t charactersOfGroup = 4;
constexpr unsigned bitsOfCharacter = 6;

/// Collects the characters of one group.
struct Group {
  std::uint32_t bits = 0;
  std::size_t characters = 0;
  std::size_t paddings = 0;

  bool add(char character) {
    const auto value = character == padding ? 0 : alphabet.find(character);
    if (value == std::string_view::npos) return false;
    if (character == padding) {
      ++paddings;
    } else if (paddings > 0) {
      return false;
    }
    bits = bits << bitsOfCharacter | static_cast<std::uint32_t>(value);
    ++characters;
    return true;
  }

  bool isComplete() const { return characters == charactersOfGroup; }

  /// False when the group is no encoding of bytes: too much padding, or bits beside the bytes.
  bool appendTo(Data& data) const {
    constexpr std::size_t mostPaddings = 2;
    if (paddings > mostPaddings) return false;
    for (std::size_t i = 0; i < bytesOfGroup; ++i) {
      const auto byte = static_cast<std::uint8_t>(bits >> (16 - 8 * i));
      const bool isPadding = i >= bytesOfGroup - paddings;
      if (isPadding && byte != 0) return false;
      if (!isPadding) data.push_back(byte);
    }
    return true;
  }
};

}  // namespace

std::string base64TextFromData(const std::uint8_t* bytes, std::size_t size) {
  std::string text;
  text.reserve((size + bytesOfGroup - 1) / bytesOfGroup * charactersOfGroup);
  for (std::size_t begin = 0; begin < size; begin += bytesOfGroup) {
    const auto count = std::min(bytesOfGroup, size - begin);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < bytesOfGroup; ++i) {
      bits = bits << 8 | (i < count ? bytes[begin + i] : 0u);
    }
    for (std::size_t i = 0; i < charactersOfGroup; ++i) {
      const auto value = bits >> (18 - bitsOfCharacter * i) & 0x3F;
      text += i <= count ? alphabet[value] : padding;
    }
  }
  return text;
}

std::optional<Data> dataFromBase64Text(std::string_view text) {
  Data data;
  data.reserve(text.size() / charactersOfGroup * bytesOfGroup);
  Group group;
  bool isEnded = false;
  for (const char character : text) {
    if (blanks.find(character) != std::string_view::npos) continue;
    if (isEnded || !group.add(character)) return std::nullopt;
    if (!group.isComplete()) continue;
    if (!group.appendTo(data)) return std::nullopt;
    isEnded = group.paddings > 0;
    group = {};
  }
  if (group.characters > 0) return std::nullopt;
  return data;
}

}  // namespace qrt
