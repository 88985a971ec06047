// A message as a hostile client sends it: the arguments of a request, and a header.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/Error.h"
#include "platform/linux/wire/EncodedArguments.h"
#include "platform/linux/wire/MessageFrame.h"
#include "platform/linux/wire/WireReader.h"

namespace {

using namespace qrt;

void require(bool condition) {
  if (!condition) std::abort();
}

void readArguments(std::span<const std::uint8_t> body, bool bigEndian) {
  WireReader reader(body, bigEndian);
  reader.uint64();
  reader.data();
  reader.descriptorIndexes(64);
  const auto position = reader.position();
  auto checked = reader;
  const auto count = checked.checkArray();
  const auto arguments = reader.array();
  // What was found good is decoded later, when it can no longer be refused.
  require(checked.atEnd() == reader.atEnd());
  if (!reader.atEnd()) return;
  require(count == arguments.size() && count <= WireReader::maximumValues);
  EncodedArguments encoded({{body.begin(), body.end()}, 0, bigEndian}, position, count);
  const auto decoded = DecodedArguments(arguments).metadata();
  require(encoded.metadata().has_value() == decoded.has_value());
  require(encoded.decode().size() == count);
}

void readHeader(std::span<const std::uint8_t> message) {
  if (message.size() < MessageFrame::prefixLength) return;
  const auto frame = MessageFrame::parse(message.first<MessageFrame::prefixLength>());
  if (!frame) return;
  require(frame->length() <= MessageFrame::maximumLength);
  require(frame->headerLength >= MessageFrame::prefixLength);
  if (frame->headerLength > message.size()) return;
  const auto sent = message.first(frame->headerLength);
  std::vector<std::uint8_t> header(sent.begin(), sent.end());
  const auto count = frame->takeDescriptorCount(header);
  // Taken once, it is gone; a header that is refused is not touched.
  if (count) {
    require(frame->takeDescriptorCount(header) == 0);
  } else {
    require(std::equal(header.begin(), header.end(), sent.begin()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const std::span body(bytes + 1, size - 1);
  readArguments(body, /*bigEndian=*/(bytes[0] & 1) != 0);
  readHeader(body);
  return 0;
}
