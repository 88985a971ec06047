#include "platform/linux/signing/SignatureBlobs.h"

namespace qrt {
namespace {

constexpr std::uint32_t embeddedSignatureMagic = 0xFADE0CC0;
/// Several times what there are slots.
constexpr std::uint32_t mostBlobs = 64;
constexpr std::uint64_t indexStart = 12;
constexpr std::uint64_t indexRecordSize = 8;

/// What a blob's own header says it is.
std::optional<Bytes> blobAt(Bytes bytes, std::uint64_t offset) {
  const auto size = numberAt<std::uint32_t>(bytes, offset + 4);
  if (!size || *size < blobHeaderSize) return std::nullopt;
  return partOf(bytes, offset, *size);
}

}  // namespace

std::optional<SignatureBlobs> readSignatureBlobs(Bytes signature) {
  const auto whole = blobAt(signature, 0);
  if (!whole || numberAt<std::uint32_t>(*whole, 0) != embeddedSignatureMagic) return std::nullopt;
  const auto count = numberAt<std::uint32_t>(*whole, 8);
  if (!count || *count > mostBlobs) return std::nullopt;
  SignatureBlobs blobs;
  for (std::uint32_t i = 0; i < *count; ++i) {
    const auto record = indexStart + i * indexRecordSize;
    const auto slot = numberAt<std::uint32_t>(*whole, record);
    const auto offset = numberAt<std::uint32_t>(*whole, record + 4);
    if (!slot || !offset || *offset < indexStart + *count * indexRecordSize) return std::nullopt;
    const auto blob = blobAt(*whole, *offset);
    if (!blob || !blobs.emplace(*slot, *blob).second) return std::nullopt;
  }
  return blobs;
}

}  // namespace qrt
