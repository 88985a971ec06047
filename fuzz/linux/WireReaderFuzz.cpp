// Arguments of a request as a hostile client marshals them.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/Error.h"
#include "platform/linux/MessageFrame.h"
#include "platform/linux/WireReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using qrt::MessageFrame;
  if (size == 0) return 0;
  const std::span body(bytes + 1, size - 1);
  qrt::WireReader reader(body, /*bigEndian=*/(bytes[0] & 1) != 0);
  reader.uint64();
  reader.data();
  reader.descriptorIndexes();
  const auto arguments = reader.array();
  if (reader.atEnd() && arguments.size() > qrt::WireReader::maximumValues) std::abort();

  if (body.size() >= MessageFrame::prefixLength) {
    const auto frame = MessageFrame::parse(body.first<MessageFrame::prefixLength>());
    if (frame && (frame->length() > MessageFrame::maximumLength ||
                  frame->headerLength < MessageFrame::prefixLength)) {
      std::abort();
    }
    if (frame && frame->headerLength <= body.size()) {
      std::vector<std::uint8_t> header(body.begin(),
                                       body.begin() + static_cast<long>(frame->headerLength));
      const auto count = frame->takeDescriptorCount(header);
      // Taken once, it is gone; a header that is refused is not touched.
      if (count && frame->takeDescriptorCount(header) != 0) std::abort();
      if (!count && !std::equal(header.begin(), header.end(), body.begin())) std::abort();
    }
  }
  return 0;
}
