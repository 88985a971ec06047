// Arguments of a request that are still a message.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/linux/wire/LargeMessageQueue.h"
#include "platform/linux/wire/WireReader.h"
#include "protocol/RequestArguments.h"

namespace qrt {

/// A message that was taken from its connection, and its turn, whose memory it uses.
struct ReceivedMessage {
  std::vector<std::uint8_t> bytes;
  std::size_t headerLength = 0;
  bool bigEndian = false;
  /// Null for a small message.
  std::unique_ptr<LargeMessageTurn> turn = nullptr;

  WireReader body(std::size_t position = 0) const {
    return {std::span(bytes).subspan(headerLength), bigEndian, position};
  }
};

/// Keeps the bytes of the array, which are a tenth of its values, until it is decoded.
class EncodedArguments : public RequestArguments {
 public:
  /// No dialog shows longer texts; metadata with one counts as metadata without it.
  static constexpr std::size_t longestText = 64 << 10;

  /// `position` is that of an array of `count` values in the body, which has been checked.
  EncodedArguments(ReceivedMessage message, std::size_t position, std::size_t count)
      : message_(std::move(message)), position_(position), count_(count) {
    if (message_.turn) message_.turn->endReading();
  }

  std::size_t count() const override { return count_; }
  std::optional<RequestMetadata> metadata() const override;
  /// Frees the memory of the message.
  Array decode() override;

 private:
  ReceivedMessage message_;
  std::size_t position_;
  std::size_t count_;
};

}  // namespace qrt
