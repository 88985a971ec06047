// Lists of sealed files.
#include "platform/linux/signing/ResourceEnvelope.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto envelope = qrt::ResourceEnvelope::read({bytes, size});
  if (!envelope) return 0;
  std::uint64_t steps = 100'000;
  for (const auto* path : {"Info.plist", "Resources/en.lproj/a", "x/.DS_Store", "aaaaaaaaaaaaab"}) {
    envelope->allows(path, steps);
  }
  return 0;
}
