#include "platform/linux/signing/CodeSignature.h"

#include <algorithm>

#include "platform/PropertyLists.h"

namespace qrt {
namespace {

constexpr std::uint32_t directoryMagic = 0xFADE0C02;

/// The versions that have this layout, and those that added fields.
constexpr std::uint32_t earliestVersion = 0x20001;
constexpr std::uint32_t latestCompatibleVersion = 0x2F000;
constexpr std::uint32_t versionWithScatter = 0x20100;
constexpr std::uint32_t versionWithTeam = 0x20200;
constexpr std::uint32_t versionWithLargeCode = 0x20300;

/// Offsets in a code directory. All numbers are big-endian.
namespace field {
constexpr std::uint64_t version = 8;
constexpr std::uint64_t hashes = 16;
constexpr std::uint64_t identifier = 20;
constexpr std::uint64_t specialCount = 24;
constexpr std::uint64_t pageCount = 28;
constexpr std::uint64_t codeSize = 32;
constexpr std::uint64_t hashSize = 36;
constexpr std::uint64_t digestKind = 37;
constexpr std::uint64_t pageSizeExponent = 39;
constexpr std::uint64_t scatter = 44;
constexpr std::uint64_t team = 48;
constexpr std::uint64_t largeCodeSize = 56;
}  // namespace field

/// 0 means one page for everything. An attacker could make hashing of smaller pages very slow.
constexpr bool isPageSizeExponent(unsigned exponent) {
  return exponent == 0 || (exponent >= 12 && exponent <= 24);
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
  directory.blob = blob;
  directory.digestKind = static_cast<DigestKind>(byte(field::digestKind));
  const auto hashSize = digestSize(directory.digestKind);
  const auto exponent = byte(field::pageSizeExponent);
  if (hashSize == 0 || hashSize != byte(field::hashSize)) return std::nullopt;
  if (!isPageSizeExponent(exponent)) return std::nullopt;

  directory.codeSize = number(field::codeSize);
  if (version >= versionWithLargeCode) {
    const auto large = numberAt<std::uint64_t>(blob, field::largeCodeSize).value_or(0);
    if (large != 0) directory.codeSize = large;
  }
  if (directory.codeSize == 0) return std::nullopt;
  directory.pageSize = exponent == 0 ? directory.codeSize : std::uint64_t{1} << exponent;
  directory.pageCount = number(field::pageCount);
  if ((directory.codeSize - 1) / directory.pageSize + 1 != directory.pageCount) return std::nullopt;

  directory.specialCount = number(field::specialCount);
  const auto specialSize = std::uint64_t{directory.specialCount} * hashSize;
  const auto pageHashesSize = std::uint64_t{directory.pageCount} * hashSize;
  const auto firstPageHash = number(field::hashes);
  if (firstPageHash < specialSize) return std::nullopt;
  const auto hashes = partOf(blob, firstPageHash - specialSize, specialSize + pageHashesSize);
  auto identifier = textAt(blob, number(field::identifier));
  if (!hashes || !identifier) return std::nullopt;
  directory.hashes = *hashes;
  directory.identifier = std::move(*identifier);

  const auto team = version >= versionWithTeam ? number(field::team) : 0;
  if (team != 0) directory.team = textAt(blob, team);
  return team == 0 || directory.team ? std::optional(std::move(directory)) : std::nullopt;
}

Bytes CodeDirectory::pageHash(std::uint32_t page) const {
  const auto size = digestSize(digestKind);
  return hashes.subspan((std::size_t{specialCount} + page) * size, size);
}

std::optional<Bytes> CodeDirectory::specialHash(std::uint32_t slot) const {
  if (slot == 0 || slot > specialCount) return std::nullopt;
  const auto size = digestSize(digestKind);
  const auto hash = hashes.subspan(std::size_t{specialCount - slot} * size, size);
  const bool isEmpty = std::all_of(hash.begin(), hash.end(), [](auto byte) { return byte == 0; });
  return isEmpty ? std::nullopt : std::optional(hash);
}

Data CodeDirectory::ownShortHash() const {
  auto hash = ownHash();
  hash.resize(std::min(hash.size(), digestSize(DigestKind::sha1)));
  return hash;
}

namespace {

constexpr std::uint32_t embeddedSignatureMagic = 0xFADE0CC0;
/// Of the blob around a CMS message.
constexpr std::uint32_t wrapperMagic = 0xFADE0B01;
constexpr std::size_t blobHeaderSize = 8;
/// Several times the number of known slots.
constexpr std::uint32_t mostBlobs = 64;

/// The numbers of a signature's parts. A directory seals the slots below `alternateDirectories`.
namespace slots {
constexpr std::uint32_t codeDirectory = 0;
constexpr std::uint32_t infoPlist = 1;
constexpr std::uint32_t resources = 3;
/// Directories with other kinds of hashes.
constexpr std::uint32_t alternateDirectories = 0x1000;
constexpr std::uint32_t endOfAlternateDirectories = 0x1005;
constexpr std::uint32_t cms = 0x10000;
}  // namespace slots

bool isDirectorySlot(std::uint32_t slot) {
  return slot == slots::codeDirectory ||
         (slot >= slots::alternateDirectories && slot < slots::endOfAlternateDirectories);
}

std::int32_t statusOfSlot(std::uint32_t slot) {
  if (slot == slots::infoPlist) return code_signing_status::infoPlistFailed;
  if (slot == slots::resources) return code_signing_status::resourcesInvalid;
  return code_signing_status::signatureFailed;
}

/// A blob with its header, which holds its size.
std::optional<Bytes> blobAt(Bytes bytes, std::uint64_t offset) {
  const auto size = numberAt<std::uint32_t>(bytes, offset + 4);
  if (!size || *size < blobHeaderSize) return std::nullopt;
  return partOf(bytes, offset, *size);
}

bool equal(const Data& digest, Bytes expected) {
  return !digest.empty() &&
         std::equal(digest.begin(), digest.end(), expected.begin(), expected.end());
}

/// Whether the signer's list names each directory and nothing else.
template <class List, class Names>
bool listsAll(const List& list, const std::vector<CodeDirectory>& directories, Names names) {
  return list.size() == directories.size() &&
         std::all_of(directories.begin(), directories.end(), [&](const auto& directory) {
           return std::any_of(list.begin(), list.end(),
                              [&](const auto& entry) { return names(entry, directory); });
         });
}

/// The older form of the list, a property list.
bool listsAll(const Data& propertyList, const std::vector<CodeDirectory>& directories) {
  const auto list = readPropertyList(propertyList);
  const auto* dictionary = list ? list->dictionary() : nullptr;
  if (!dictionary || !dictionary->contains("cdhashes")) return false;
  const auto* hashes = dictionary->find("cdhashes")->second.array();
  return hashes && listsAll(*hashes, directories, [](const auto& entry, const auto& directory) {
           return entry == PropertyValue(directory.ownShortHash());
         });
}

bool pagesMatch(const CodeDirectory& directory, int file, FileRange code, SigningBudget& budget) {
  for (std::uint32_t page = 0; page < directory.pageCount; ++page) {
    const auto offset = page * directory.pageSize;
    const FileRange range{code.offset + offset, std::min(directory.pageSize, code.size - offset)};
    const auto digest = digestOfRange(file, range, directory.digestKind, budget);
    if (!equal(digest, directory.pageHash(page))) return false;
  }
  return true;
}

}  // namespace

std::optional<CodeSignature> CodeSignature::read(Data bytes) {
  CodeSignature signature;
  signature.bytes_ = std::move(bytes);
  auto blobs = readBlobs(signature.bytes_);
  if (!blobs || !blobs->contains(slots::codeDirectory)) return std::nullopt;
  signature.blobs_ = std::move(*blobs);
  for (const auto& [slot, blob] : signature.blobs_) {
    if (!isDirectorySlot(slot)) continue;
    auto directory = CodeDirectory::read(blob);
    if (!directory) return std::nullopt;
    signature.directories_.push_back(std::move(*directory));
  }

  const auto& signedDirectory = signature.directories_.front();
  const auto cms = signature.blobs_.find(slots::cms);
  if (cms != signature.blobs_.end() && numberAt<std::uint32_t>(cms->second, 0) == wrapperMagic) {
    signature.signer_ =
        verifiedCmsSigner(cms->second.subspan(blobHeaderSize), signedDirectory.blob);
  }
  signature.information_ = {signedDirectory.identifier, signedDirectory.team, {}};
  if (signature.signer_) signature.information_.certificates = signature.signer_->certificates;
  return signature;
}

std::optional<CodeSignature::Blobs> CodeSignature::readBlobs(Bytes signature) {
  constexpr std::uint64_t indexStart = 12, recordSize = 8;
  const auto whole = blobAt(signature, 0);
  if (!whole || numberAt<std::uint32_t>(*whole, 0) != embeddedSignatureMagic) return std::nullopt;
  const auto count = numberAt<std::uint32_t>(*whole, 8);
  if (!count || *count > mostBlobs) return std::nullopt;
  Blobs blobs;
  for (std::uint32_t i = 0; i < *count; ++i) {
    const auto record = indexStart + i * recordSize;
    const auto slot = numberAt<std::uint32_t>(*whole, record);
    const auto offset = numberAt<std::uint32_t>(*whole, record + 4);
    if (!slot || !offset || *offset < indexStart + *count * recordSize) return std::nullopt;
    const auto blob = blobAt(*whole, *offset);
    if (!blob || !blobs.emplace(*slot, *blob).second) return std::nullopt;
  }
  return blobs;
}

bool CodeSignature::isNamedBy(const Data& directoryHash) const {
  return std::any_of(directories_.begin(), directories_.end(),
                     [&](const auto& each) { return each.ownShortHash() == directoryHash; });
}

std::int32_t CodeSignature::check(int file, FileRange code, const Parts& parts,
                                  SigningBudget& budget) const {
  using namespace code_signing_status;
  if (!signer_ || !directoriesAreSigned()) return signatureFailed;
  for (const auto& directory : directories_) {
    if (!agrees(directory) || directory.codeSize != code.size) return signatureFailed;
    const auto lastSlot = std::max(directory.specialCount, slots::alternateDirectories - 1);
    for (std::uint32_t slot = 1; slot <= lastSlot; ++slot) {
      const auto status = checkSlot(directory, slot, parts);
      if (status != 0) return status;
    }
    if (!pagesMatch(directory, file, code, budget)) return signatureFailed;
  }
  return 0;
}

/// The signer signed the first directory; signed lists of all directories bind the others to it.
bool CodeSignature::directoriesAreSigned() const {
  const auto& [certificates, team, digests, propertyList] = *signer_;
  if (digests.empty() && propertyList.empty()) return directories_.size() == 1;
  const auto isDigestOf = [](const CmsSigner::DirectoryDigest& entry, const auto& directory) {
    return entry.kind == directory.digestKind && entry.digest == directory.ownHash();
  };
  return (propertyList.empty() || listsAll(propertyList, directories_)) &&
         (digests.empty() || listsAll(digests, directories_, isDigestOf));
}

/// Whether it names what the signed directory names, and the team is the signer's: otherwise each
/// developer could sign in the name of each team.
bool CodeSignature::agrees(const CodeDirectory& directory) const {
  const bool isSignersTeam = !directory.team || !signer_->team || *directory.team == *signer_->team;
  return isSignersTeam && directory.identifier == information_.identifier &&
         directory.team == information_.teamIdentifier;
}

/// A part must exist and match its hash, or there must be neither a part nor a hash.
std::int32_t CodeSignature::checkSlot(const CodeDirectory& directory, std::uint32_t slot,
                                      const Parts& parts) const {
  // A program without a bundle may hold its information file in its own pages.
  if (slot == slots::infoPlist && !parts.infoPlist) return 0;
  const auto part = partIn(slot, parts);
  const auto expected = directory.specialHash(slot);
  if (!part && !expected) return 0;
  const bool matches = part && expected && equal(digestOf(directory.digestKind, *part), *expected);
  return matches ? 0 : statusOfSlot(slot);
}

std::optional<Bytes> CodeSignature::partIn(std::uint32_t slot, const Parts& parts) const {
  if (slot == slots::infoPlist || slot == slots::resources) {
    const auto* contents = slot == slots::infoPlist ? parts.infoPlist : parts.resourceList;
    return contents ? std::optional<Bytes>(*contents) : std::nullopt;
  }
  const auto blob = blobs_.find(slot);
  return blob == blobs_.end() ? std::nullopt : std::optional(blob->second);
}

}  // namespace qrt
