// The parts that a signature in an executable is made of.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "platform/linux/signing/BoundedBytes.h"

namespace qrt {

/// Where in a signature a part is, and under which number a code directory seals it.
namespace signature_slot {
inline constexpr std::uint32_t codeDirectory = 0;
inline constexpr std::uint32_t infoPlist = 1;
inline constexpr std::uint32_t resources = 3;
/// Directories with other kinds of hashes. Directories seal the slots below these.
inline constexpr std::uint32_t alternateDirectories = 0x1000;
inline constexpr std::uint32_t endOfAlternateDirectories = 0x1005;
inline constexpr std::uint32_t cms = 0x10000;
}  // namespace signature_slot

/// By their slots, each with its header. Refers to the signature's bytes.
using SignatureBlobs = std::map<std::uint32_t, Bytes>;

/// None for what is not a signature. The space that is reserved for one may be larger; what follows
/// it there has no meaning.
std::optional<SignatureBlobs> readSignatureBlobs(Bytes signature);

inline constexpr std::size_t blobHeaderSize = 8;

}  // namespace qrt
