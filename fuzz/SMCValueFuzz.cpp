// Values of the System Management Controller: four bytes of type code, then the value.
#include <cstdlib>

#include "base/Utf8.h"
#include "hardware/SMCValueDecoding.h"

namespace {

/// Every decoded text is printable.
void expectText(const qrt::PropertyValue& value) {
  if (const auto* text = value.string(); text && !qrt::isValidUtf8(*text)) std::abort();
  const auto* dictionary = value.dictionary();
  if (!dictionary) return;
  for (const auto& [name, entry] : *dictionary) expectText(entry);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  qrt::SMCCode type = 0;
  if (size < sizeof type) return 0;
  for (std::size_t i = 0; i < sizeof type; ++i) type = type << 8 | bytes[i];
  // A copy of its own, so that a read past its end is found.
  const qrt::Data value(bytes + sizeof type, bytes + size);
  if (const auto decoded = qrt::decodedSMCValue(type, value)) expectText(*decoded);
  return 0;
}
