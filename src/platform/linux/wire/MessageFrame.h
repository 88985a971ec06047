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
  /// Of the header fields, which begin after the fixed part.
  std::size_t fieldsLength = 0;
  /// With the padding after the fields.
  std::size_t headerLength = 0;
  std::size_t bodyLength = 0;

  std::size_t length() const { return headerLength + bodyLength; }

  /// Empty when the bytes do not begin a message, or begin one over the limit.
  static std::optional<MessageFrame> parse(std::span<const std::uint8_t, prefixLength> prefix);

  /// Makes the header one of a message without a body.
  static void clearBodyLength(std::span<std::uint8_t> header);

  /// Returns the number of descriptors that the header announces and makes the header announce 0.
  /// Returns nothing and changes nothing when the header fields are malformed.
  std::optional<std::uint32_t> takeDescriptorCount(std::span<std::uint8_t> header) const;
};

}  // namespace qrt
