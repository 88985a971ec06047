// The beginnings of executable files.
#include <cstdlib>

#include "platform/linux/signing/MachO.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const qrt::Bytes file(bytes, size);
  for (const auto& program : qrt::machOPrograms(file, size)) {
    const auto part = qrt::partOf(file, program.offset, program.size);
    if (!part) std::abort();
    const auto signature = qrt::machOSignature(*part, program.size);
    if (signature && !qrt::partOf(*part, signature->offset, signature->size)) std::abort();
  }
  return 0;
}
