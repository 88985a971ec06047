#include "PropertyListRoundTrip.h"
#include "platform/posix/propertylists/BinaryPropertyListReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  qrt::checkRoundTrip(qrt::readBinaryPropertyList({bytes, size}));
  return 0;
}
