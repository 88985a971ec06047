// UTF-16, as property lists hold it.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qrt {

constexpr bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

constexpr char32_t characterFromSurrogates(char32_t high, char32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// A surrogate becomes three bytes that are not valid UTF-8.
void appendUtf8(std::string& text, char32_t character);

/// No value when the bytes end inside a unit or a surrogate has no partner.
std::optional<std::string> utf8FromUtf16(std::span<const std::uint8_t> bytes, std::endian order);

}  // namespace qrt
