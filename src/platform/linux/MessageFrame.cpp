#include "platform/linux/MessageFrame.h"

namespace qrt {

std::optional<MessageFrame> MessageFrame::parse(
    std::span<const std::uint8_t, prefixLength> prefix) {
  constexpr std::uint8_t lastMessageType = 4;
  constexpr std::uint8_t protocolVersion = 1;

  const char byteOrder = static_cast<char>(prefix[0]);
  if (byteOrder != 'l' && byteOrder != 'B') return std::nullopt;
  if (prefix[1] == 0 || prefix[1] > lastMessageType) return std::nullopt;
  if (prefix[3] != protocolVersion) return std::nullopt;

  MessageFrame frame;
  frame.bigEndian = byteOrder == 'B';
  const auto lengthAt = [&](std::size_t offset) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      value = value << 8 | prefix[frame.bigEndian ? offset + i : offset + 3 - i];
    }
    return value;
  };
  frame.bodyLength = lengthAt(4);
  const auto fields = lengthAt(12);
  frame.headerLength = prefixLength + (fields + 7) / 8 * 8;
  if (frame.length() > maximumLength) return std::nullopt;
  return frame;
}

}  // namespace qrt
