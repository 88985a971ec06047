// The hashes of a program and of what belongs to it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "platform/linux/signing/BoundedBytes.h"
#include "platform/linux/signing/Digest.h"

namespace qrt {

/// What is signed: this names the program and seals everything else by its hash. Refers to the
/// signature's bytes.
class CodeDirectory {
 public:
  /// None for what is no directory, for one whose parts do not lie within it or do not fit each
  /// other, and for one of a version or with hashes that are not known.
  static std::optional<CodeDirectory> read(Bytes blob);

  Bytes bytes() const { return blob_; }
  DigestKind hashKind() const { return hashKind_; }
  const std::string& identifier() const { return identifier_; }
  const std::optional<std::string>& teamIdentifier() const { return teamIdentifier_; }

  /// How much of the program is sealed, from its beginning, page by page; the last page may be
  /// shorter.
  std::uint64_t codeSize() const { return codeSize_; }
  std::uint64_t pageSize() const { return pageSize_; }
  std::uint32_t pageCount() const { return pageCount_; }
  Bytes pageHash(std::uint32_t page) const;

  /// The hash of what belongs into a slot of the signature; none when nothing does.
  std::optional<Bytes> specialHash(std::uint32_t slot) const;
  std::uint32_t lastSpecialSlot() const { return specialCount_; }

  /// The directory's own hash, as it is used to name the program.
  Data hash() const { return digestOf(hashKind_, blob_); }

 private:
  CodeDirectory() = default;

  Bytes blob_;
  Bytes hashes_;
  DigestKind hashKind_ = DigestKind::sha1;
  std::size_t hashSize_ = 0;
  std::uint32_t specialCount_ = 0;
  std::uint32_t pageCount_ = 0;
  std::uint64_t pageSize_ = 0;
  std::uint64_t codeSize_ = 0;
  std::string identifier_;
  std::optional<std::string> teamIdentifier_;
};

}  // namespace qrt
