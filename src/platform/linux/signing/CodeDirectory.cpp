#include "platform/linux/signing/CodeDirectory.h"

#include <algorithm>

namespace qrt {
namespace {

constexpr std::uint32_t directoryMagic = 0xFADE0C02;

/// Versions: the range that this layout holds for, and where fields were added.
constexpr std::uint32_t earliestVersion = 0x20001;
constexpr std::uint32_t latestCompatibleVersion = 0x2F000;
constexpr std::uint32_t versionWithScatter = 0x20100;
constexpr std::uint32_t versionWithTeam = 0x20200;
constexpr std::uint32_t versionWithLargeCode = 0x20300;

/// Offsets of the fields; all are big-endian.
namespace field {
constexpr std::uint64_t version = 8;
constexpr std::uint64_t hashes = 16;
constexpr std::uint64_t identifier = 20;
constexpr std::uint64_t specialCount = 24;
constexpr std::uint64_t pageCount = 28;
constexpr std::uint64_t codeSize = 32;
constexpr std::uint64_t hashSize = 36;
constexpr std::uint64_t hashKind = 37;
constexpr std::uint64_t pageSizeExponent = 39;
constexpr std::uint64_t scatter = 44;
constexpr std::uint64_t team = 48;
constexpr std::uint64_t largeCodeSize = 56;
}  // namespace field

/// 0 means that all is one page. Hashing smaller pages would take as long as somebody likes.
constexpr std::uint8_t smallestPageSizeExponent = 12;
constexpr std::uint8_t largestPageSizeExponent = 24;

std::uint64_t pagesOf(std::uint64_t codeSize, std::uint64_t pageSize) {
  return codeSize / pageSize + (codeSize % pageSize != 0);
}

}  // namespace

std::optional<CodeDirectory> CodeDirectory::read(Bytes blob) {
  const auto number = [blob](std::uint64_t offset) {
    return numberAt<std::uint32_t>(blob, offset).value_or(0);
  };
  const auto byte = [blob](std::uint64_t offset) {
    return numberAt<std::uint8_t>(blob, offset).value_or(0);
  };
  const auto version = number(field::version);
  const bool isKnown = number(0) == directoryMagic && version >= earliestVersion &&
                       version <= latestCompatibleVersion;
  const bool isScattered = version >= versionWithScatter && number(field::scatter) != 0;
  if (!isKnown || isScattered) return std::nullopt;

  CodeDirectory directory;
  directory.blob_ = blob;
  directory.hashKind_ = static_cast<DigestKind>(byte(field::hashKind));
  directory.hashSize_ = digestSize(directory.hashKind_);
  const auto exponent = byte(field::pageSizeExponent);
  const bool hasKnownHashes =
      directory.hashSize_ != 0 && directory.hashSize_ == byte(field::hashSize);
  const bool hasUsualPages = exponent == 0 || (exponent >= smallestPageSizeExponent &&
                                               exponent <= largestPageSizeExponent);
  if (!hasKnownHashes || !hasUsualPages) return std::nullopt;

  directory.codeSize_ = number(field::codeSize);
  if (version >= versionWithLargeCode) {
    const auto large = numberAt<std::uint64_t>(blob, field::largeCodeSize).value_or(0);
    if (large != 0) directory.codeSize_ = large;
  }
  directory.pageSize_ = exponent == 0 ? directory.codeSize_ : std::uint64_t{1} << exponent;
  directory.pageCount_ = number(field::pageCount);
  const bool fits = directory.codeSize_ != 0 &&
                    pagesOf(directory.codeSize_, directory.pageSize_) == directory.pageCount_;
  if (!fits) return std::nullopt;

  directory.specialCount_ = number(field::specialCount);
  const auto specialSize = std::uint64_t{directory.specialCount_} * directory.hashSize_;
  const auto pageHashesSize = std::uint64_t{directory.pageCount_} * directory.hashSize_;
  const auto firstPageHash = number(field::hashes);
  if (firstPageHash < specialSize) return std::nullopt;
  const auto hashes = partOf(blob, firstPageHash - specialSize, specialSize + pageHashesSize);
  auto identifier = textAt(blob, number(field::identifier));
  if (!hashes || !identifier) return std::nullopt;
  directory.hashes_ = *hashes;
  directory.identifier_ = std::move(*identifier);

  const auto team = version >= versionWithTeam ? number(field::team) : 0;
  if (team == 0) return directory;
  directory.teamIdentifier_ = textAt(blob, team);
  return directory.teamIdentifier_ ? std::optional(std::move(directory)) : std::nullopt;
}

Bytes CodeDirectory::pageHash(std::uint32_t page) const {
  return hashes_.subspan((std::size_t{specialCount_} + page) * hashSize_, hashSize_);
}

std::optional<Bytes> CodeDirectory::specialHash(std::uint32_t slot) const {
  if (slot == 0 || slot > specialCount_) return std::nullopt;
  const auto hash = hashes_.subspan(std::size_t{specialCount_ - slot} * hashSize_, hashSize_);
  const bool isNothing = std::all_of(hash.begin(), hash.end(), [](auto byte) { return byte == 0; });
  return isNothing ? std::nullopt : std::optional(hash);
}

}  // namespace qrt
