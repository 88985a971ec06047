#include "platform/linux/wire/MessageFrame.h"

#include <algorithm>

#include "platform/linux/wire/WireReader.h"

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
  frame.fieldsLength = lengthAt(12);
  frame.headerLength = prefixLength + (frame.fieldsLength + 7) / 8 * 8;
  if (frame.length() > maximumLength) return std::nullopt;
  return frame;
}

void MessageFrame::clearBodyLength(std::span<std::uint8_t> header) {
  std::fill_n(header.begin() + 4, sizeof(std::uint32_t), std::uint8_t{0});
}

std::optional<std::uint32_t> MessageFrame::takeDescriptorCount(
    std::span<std::uint8_t> header) const {
  constexpr std::uint8_t descriptorCount = 9;

  WireReader fields(header.subspan(prefixLength, fieldsLength), bigEndian);
  std::optional<std::uint32_t> count;
  std::size_t countEnd = 0;
  while (fields.ok() && !fields.atEnd()) {
    fields.align(8);
    const auto code = fields.byte();
    const auto type = fields.signature();
    if (code != descriptorCount) {
      fields.skipBasic(type);
      continue;
    }
    if (count || type != "u") return std::nullopt;
    count = fields.uint32();
    countEnd = prefixLength + fields.position();
  }
  if (!fields.ok()) return std::nullopt;
  if (!count) return 0;
  std::fill_n(header.begin() + static_cast<std::ptrdiff_t>(countEnd - sizeof *count), sizeof *count,
              std::uint8_t{0});
  return count;
}

}  // namespace qrt
