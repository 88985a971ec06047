#include "PropertyListRoundTrip.h"

/// Through the door, for the encodings; XML that gets in this way is welcome.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  qrt::checkRoundTrip(qrt::readPropertyList({bytes, size}));
  return 0;
}
