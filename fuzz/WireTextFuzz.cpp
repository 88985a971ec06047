// File names on the wire.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/Utf8.h"
#include "protocol/WireText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string name(bytes, bytes + size);
  const auto sent = qrt::encodeWireText(name);
  if (!qrt::isValidUtf8(sent)) std::abort();
  // A name has no zero byte, and decoding never makes one.
  const bool isName = name.find('\0') == std::string::npos;
  if (isName && qrt::decodeWireText(sent) != name) std::abort();

  // Decoding a peer's text never makes the bytes that paths are cut at.
  const auto decoded = qrt::decodeWireText(name);
  for (const char cut : {'/', '\0'}) {
    if (std::count(decoded.begin(), decoded.end(), cut) >
        std::count(name.begin(), name.end(), cut)) {
      std::abort();
    }
  }
  return 0;
}
