// Signatures as they lie in executables.
#include <cstdlib>

#include "platform/linux/signing/CmsSignature.h"
#include "platform/linux/signing/CodeDirectory.h"
#include "platform/linux/signing/SignatureBlobs.h"

namespace {

/// Every hash that a directory has lies within it.
void readHashes(const qrt::CodeDirectory& directory) {
  const auto isInside = [&](qrt::Bytes hash) {
    const auto whole = directory.bytes();
    return hash.data() >= whole.data() && hash.data() + hash.size() <= whole.data() + whole.size();
  };
  for (std::uint32_t page = 0; page < directory.pageCount(); ++page) {
    if (!isInside(directory.pageHash(page))) std::abort();
  }
  for (std::uint32_t slot = 0; slot <= directory.lastSpecialSlot(); ++slot) {
    const auto hash = directory.specialHash(slot);
    if (hash && !isInside(*hash)) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto blobs = qrt::readSignatureBlobs({bytes, size});
  if (!blobs) return 0;
  const auto signedBytes = blobs->contains(0) ? blobs->at(0) : qrt::Bytes();
  for (const auto& [slot, blob] : *blobs) {
    if (const auto directory = qrt::CodeDirectory::read(blob)) readHashes(*directory);
    if (slot != qrt::signature_slot::cms) continue;
    const auto signer = qrt::verifiedCmsSigner(blob.subspan(qrt::blobHeaderSize), signedBytes);
    if (signer && signer->certificates.empty()) std::abort();
  }
  return 0;
}
