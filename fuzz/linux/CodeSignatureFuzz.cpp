// Signatures as executables contain them.
#include <cstdlib>

#include "platform/linux/signing/CodeSignature.h"

namespace {

/// Every hash of a directory is inside of it.
void readHashes(const qrt::CodeDirectory& directory) {
  const auto isInside = [whole = directory.blob](qrt::Bytes hash) {
    return hash.data() >= whole.data() && hash.data() + hash.size() <= whole.data() + whole.size();
  };
  for (std::uint32_t page = 0; page < directory.pageCount; ++page) {
    if (!isInside(directory.pageHash(page))) std::abort();
  }
  for (std::uint32_t slot = 0; slot <= directory.specialCount; ++slot) {
    const auto hash = directory.specialHash(slot);
    if (hash && !isInside(*hash)) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto signature = qrt::CodeSignature::read({bytes, bytes + size});
  if (!signature) return 0;
  for (const auto& directory : signature->directories()) readHashes(directory);
  qrt::SigningBudget budget;
  if (signature->check(-1, {}, {}, budget) == 0) std::abort();
  return 0;
}
