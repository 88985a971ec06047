// The signature of one program: what it says, and whether the program matches it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/CodeSigning.h"
#include "platform/linux/signing/CmsSignature.h"
#include "platform/linux/signing/SignedFiles.h"

namespace qrt {

/// Names a program and holds the hashes of its pages and of everything that belongs to it. Refers
/// to the bytes that it was read from.
struct CodeDirectory {
  /// None when the bytes are not a directory, when its parts reach beyond it or contradict each
  /// other, and when its version or its kind of hash is unknown.
  static std::optional<CodeDirectory> read(Bytes blob);

  /// Of a page of the program, counted from 0.
  Bytes pageHash(std::uint32_t page) const;
  /// Of the part in a slot of the signature; none when the slot is empty.
  std::optional<Bytes> specialHash(std::uint32_t slot) const;
  /// The hash by which others name the program: of the directory itself.
  Data ownHash() const { return digestOf(digestKind, blob); }
  /// The same in the length that lists of directories use.
  Data ownShortHash() const;

  Bytes blob;
  /// From the highest slot down to slot 1, then from page 0 up.
  Bytes hashes;
  DigestKind digestKind = DigestKind::sha1;
  std::uint32_t specialCount = 0;
  std::uint32_t pageCount = 0;
  std::uint64_t pageSize = 0;
  /// How many bytes from the program's beginning the pages cover; the last page may be shorter.
  std::uint64_t codeSize = 0;
  std::string identifier;
  std::optional<std::string> team;
};

/// The signature of one program. It is moved, never copied: its parts refer to its bytes.
class CodeSignature {
 public:
  /// None when it cannot be read. Bytes after its end have no meaning.
  static std::optional<CodeSignature> read(Data bytes);

  CodeSignature(CodeSignature&&) = default;
  CodeSignature& operator=(CodeSignature&&) = default;

  const SigningInformation& information() const { return information_; }
  const std::vector<CodeDirectory>& directories() const { return directories_; }

  /// Whether one of its code directories has that hash, in the length of lists.
  bool isNamedBy(const Data& directoryHash) const;

  /// Files of the program's bundle that the signature seals; null where they do not exist.
  struct Parts {
    const Data* infoPlist;
    const Data* resourceList;
  };

  /// Returns one of `code_signing_status`, or 0 when signer, directories, parts and pages match.
  /// `code` is the program up to its signature.
  std::int32_t check(int file, FileRange code, const Parts& parts, SigningBudget& budget) const;

 private:
  /// By their slots. Each begins with its header.
  using Blobs = std::map<std::uint32_t, Bytes>;

  CodeSignature() = default;
  static std::optional<Blobs> readBlobs(Bytes signature);

  bool directoriesAreSigned() const;
  bool agrees(const CodeDirectory& directory) const;
  std::int32_t checkSlot(const CodeDirectory& directory, std::uint32_t slot,
                         const Parts& parts) const;
  std::optional<Bytes> partIn(std::uint32_t slot, const Parts& parts) const;

  Data bytes_;
  Blobs blobs_;
  /// The first one is what the signer signed.
  std::vector<CodeDirectory> directories_;
  std::optional<CmsSigner> signer_;
  SigningInformation information_;
};

}  // namespace qrt
