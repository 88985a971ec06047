// Where one D-Bus message ends and the next begins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qrt {

/// The fixed part that every message begins with, as far as it matters for framing.
struct MessageFrame {
  static constexpr std::size_t prefixLength = 16;
  static constexpr std::size_t maximumLength = 16 << 20;

  bool bigEndian = false;
  std::size_t headerLength = 0;
  std::size_t bodyLength = 0;

  std::size_t length() const { return headerLength + bodyLength; }

  /// None when the bytes begin no message, or one over the limit.
  static std::optional<MessageFrame> parse(std::span<const std::uint8_t, prefixLength> prefix);
};

}  // namespace qrt
