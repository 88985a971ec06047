// Texts and the bytes that they are made of.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qrt {

/// The same bytes, which the caller keeps.
inline std::string_view asText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline std::span<const std::uint8_t> asBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// The calls of the system end a text at its first zero byte and would act on another name.
inline bool holdsZeroByte(std::string_view text) {
  return text.find('\0') != std::string_view::npos;
}

}  // namespace qrt
