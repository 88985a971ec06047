#include "platform/linux/signing/SignedProgram.h"

#include <algorithm>

#include "platform/linux/signing/SealedFile.h"
#include "platform/linux/signing/SigningBudget.h"
#include "platform/posix/propertylists/BoundedPropertyLists.h"

namespace qrt {
namespace {

constexpr std::int32_t good = 0;

/// Of the blob around a CMS message.
constexpr std::uint32_t wrapperMagic = 0xFADE0B01;

bool equal(const Data& digest, Bytes expected) {
  return !digest.empty() &&
         std::equal(digest.begin(), digest.end(), expected.begin(), expected.end());
}

/// As lists of directories hold it.
Data cutHash(const CodeDirectory& directory) {
  auto hash = directory.hash();
  hash.resize(std::min(hash.size(), digestSize(DigestKind::sha1)));
  return hash;
}

/// The older form of what a signer says about all directories.
bool listsAll(const Data& propertyList, const std::vector<CodeDirectory>& directories) {
  const auto list = BoundedPropertyLists().parse(propertyList);
  const auto* dictionary = list ? list->dictionary() : nullptr;
  const auto entry = dictionary ? dictionary->find("cdhashes") : Dictionary::const_iterator();
  const auto* hashes = dictionary && entry != dictionary->end() ? entry->second.array() : nullptr;
  if (!hashes || hashes->size() != directories.size()) return false;
  return std::all_of(directories.begin(), directories.end(), [&](const auto& directory) {
    return std::find(hashes->begin(), hashes->end(), PropertyValue(cutHash(directory))) !=
           hashes->end();
  });
}

/// The newer form.
bool listsAll(const std::vector<CmsSigner::DirectoryDigest>& digests,
              const std::vector<CodeDirectory>& directories) {
  if (digests.size() != directories.size()) return false;
  return std::all_of(directories.begin(), directories.end(), [&](const auto& directory) {
    return std::any_of(digests.begin(), digests.end(), [&](const auto& each) {
      return each.kind == directory.hashKind() && each.digest == directory.hash();
    });
  });
}

bool isDirectorySlot(std::uint32_t slot) {
  return slot == signature_slot::codeDirectory ||
         (slot >= signature_slot::alternateDirectories &&
          slot < signature_slot::endOfAlternateDirectories);
}

bool isSealedSlot(std::uint32_t slot) { return slot < signature_slot::alternateDirectories; }

std::int32_t statusOfSlot(std::uint32_t slot) {
  if (slot == signature_slot::infoPlist) return code_signing_status::infoPlistFailed;
  if (slot == signature_slot::resources) return code_signing_status::resourcesInvalid;
  return code_signing_status::signatureFailed;
}

}  // namespace

std::optional<SignedProgram> SignedProgram::read(int file, FileRange place,
                                                 std::size_t& bytesLeft) {
  Data head(static_cast<std::size_t>(std::min<std::uint64_t>(place.size, machOHeadSize)));
  if (!readAt(file, place.offset, head)) return std::nullopt;
  const auto signature = machOSignature(head, place.size);
  if (!signature || signature->size > bytesLeft) return std::nullopt;
  bytesLeft -= signature->size;

  SignedProgram program;
  program.place_ = place;
  program.signatureOffset_ = signature->offset;
  program.bytes_.resize(signature->size);
  if (!readAt(file, place.offset + signature->offset, program.bytes_)) return std::nullopt;
  auto blobs = readSignatureBlobs(program.bytes_);
  if (!blobs || !blobs->contains(signature_slot::codeDirectory)) return std::nullopt;
  program.blobs_ = std::move(*blobs);
  for (const auto& [slot, blob] : program.blobs_) {
    if (!isDirectorySlot(slot)) continue;
    auto directory = CodeDirectory::read(blob);
    if (!directory) return std::nullopt;
    program.directories_.push_back(std::move(*directory));
  }

  const auto cms = program.blobs_.find(signature_slot::cms);
  if (cms != program.blobs_.end() && numberAt<std::uint32_t>(cms->second, 0) == wrapperMagic) {
    program.signer_ = verifiedCmsSigner(cms->second.subspan(blobHeaderSize),
                                        program.directories_.front().bytes());
  }
  auto& information = program.information_;
  information.identifier = program.directories_.front().identifier();
  information.teamIdentifier = program.directories_.front().teamIdentifier();
  if (program.signer_) information.certificates = program.signer_->certificates;
  return program;
}

bool SignedProgram::isNamedBy(const Data& directoryHash) const {
  return std::any_of(directories_.begin(), directories_.end(),
                     [&](const auto& each) { return cutHash(each) == directoryHash; });
}

/// One of them is what was signed; the others are bound to it by what the signer says.
bool SignedProgram::directoriesAreSigned() const {
  const bool saysNothing = signer_->directoryList.empty() && signer_->directoryDigests.empty();
  if (saysNothing) return directories_.size() == 1;
  const bool listFits =
      signer_->directoryList.empty() || listsAll(signer_->directoryList, directories_);
  const bool digestsFit =
      signer_->directoryDigests.empty() || listsAll(signer_->directoryDigests, directories_);
  return listFits && digestsFit;
}

std::int32_t SignedProgram::check(int file, const Parts& parts, SigningBudget& budget) const {
  using namespace code_signing_status;
  if (!signer_ || !directoriesAreSigned()) return signatureFailed;
  for (const auto& directory : directories_) {
    const bool saysTheSame = directory.identifier() == information_.identifier &&
                             directory.teamIdentifier() == information_.teamIdentifier;
    // Or every developer could sign in the name of every team.
    const bool isTeams = !directory.teamIdentifier() || !signer_->team ||
                         *directory.teamIdentifier() == *signer_->team;
    const bool sealsAll = directory.codeSize() == signatureOffset_;
    if (!saysTheSame || !isTeams || !sealsAll) return signatureFailed;

    auto lastSlot = directory.lastSpecialSlot();
    for (const auto& [slot, blob] : blobs_) {
      if (isSealedSlot(slot)) lastSlot = std::max(lastSlot, slot);
    }
    lastSlot = std::max(lastSlot, signature_slot::resources);
    for (std::uint32_t slot = 1; slot <= lastSlot; ++slot) {
      const auto status = checkSlot(directory, slot, parts);
      if (status != good) return status;
    }
    if (!pagesMatch(file, directory, budget)) return signatureFailed;
  }
  return good;
}

/// What belongs into the slot must be there and match, or neither be there nor have been.
std::int32_t SignedProgram::checkSlot(const CodeDirectory& directory, std::uint32_t slot,
                                      const Parts& parts) const {
  if (slot == signature_slot::infoPlist && !parts.isInBundle) return good;
  std::optional<Bytes> part;
  if (slot == signature_slot::infoPlist || slot == signature_slot::resources) {
    const auto* contents = slot == signature_slot::infoPlist ? parts.infoPlist : parts.resourceList;
    if (contents) part = *contents;
  } else if (const auto blob = blobs_.find(slot); blob != blobs_.end()) {
    part = blob->second;
  }
  const auto expected = directory.specialHash(slot);
  if (!part && !expected) return good;
  const bool matches = part && expected && equal(digestOf(directory.hashKind(), *part), *expected);
  return matches ? good : statusOfSlot(slot);
}

bool SignedProgram::pagesMatch(int file, const CodeDirectory& directory,
                               SigningBudget& budget) const {
  for (std::uint32_t page = 0; page < directory.pageCount(); ++page) {
    const auto offset = page * directory.pageSize();
    const auto size = std::min(directory.pageSize(), directory.codeSize() - offset);
    const auto digest =
        digestOfRange(file, {place_.offset + offset, size}, directory.hashKind(), budget);
    if (!equal(digest, directory.pageHash(page))) return false;
  }
  return true;
}

}  // namespace qrt
