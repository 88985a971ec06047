// Reading numbers and parts out of untrusted bytes.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qrt {

using Bytes = std::span<const std::uint8_t>;

enum class ByteOrder { big, little };

/// None when the number does not lie within the bytes.
template <std::unsigned_integral T>
std::optional<T> numberAt(Bytes bytes, std::uint64_t offset, ByteOrder order = ByteOrder::big) {
  if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return std::nullopt;
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    const auto place = order == ByteOrder::big ? i : sizeof(T) - 1 - i;
    number = number << 8 | bytes[static_cast<std::size_t>(offset) + place];
  }
  return static_cast<T>(number);
}

/// True when a part of that place and size lies within `size` bytes.
constexpr bool isWithin(std::uint64_t size, std::uint64_t offset, std::uint64_t partSize) {
  return offset <= size && partSize <= size - offset;
}

inline std::optional<Bytes> partOf(Bytes bytes, std::uint64_t offset, std::uint64_t size) {
  if (!isWithin(bytes.size(), offset, size)) return std::nullopt;
  return bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
}

/// The text from there to the next zero byte; none without one.
std::optional<std::string> textAt(Bytes bytes, std::uint64_t offset);

}  // namespace qrt
