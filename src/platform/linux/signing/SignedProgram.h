// One program and its signature.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/CodeSigning.h"
#include "platform/linux/signing/CmsSignature.h"
#include "platform/linux/signing/CodeDirectory.h"
#include "platform/linux/signing/MachO.h"
#include "platform/linux/signing/SignatureBlobs.h"

namespace qrt {

struct SigningBudget;

/// Moves, never copies: its parts refer to the signature's bytes.
class SignedProgram {
 public:
  /// None when there is no signature that can be read. `bytesLeft` is what signatures may still
  /// take of memory.
  static std::optional<SignedProgram> read(int file, FileRange place, std::size_t& bytesLeft);

  SignedProgram(SignedProgram&&) = default;
  SignedProgram& operator=(SignedProgram&&) = default;

  const SigningInformation& information() const { return information_; }

  /// Whether that is the hash of one of its code directories, cut to the size of the digest.
  bool isNamedBy(const Data& directoryHash) const;

  /// Files that belong to the program; null where there is none.
  struct Parts {
    const Data* infoPlist = nullptr;
    const Data* resourceList = nullptr;
    /// False for a program by itself, which may hold its information file in its own pages.
    bool isInBundle = false;
  };

  /// One of `code_signing_status`, 0 when program, parts and signature fit each other.
  std::int32_t check(int file, const Parts& parts, SigningBudget& budget) const;

 private:
  SignedProgram() = default;

  bool directoriesAreSigned() const;
  std::int32_t checkSlot(const CodeDirectory& directory, std::uint32_t slot,
                         const Parts& parts) const;
  bool pagesMatch(int file, const CodeDirectory& directory, SigningBudget& budget) const;

  FileRange place_;
  std::uint64_t signatureOffset_ = 0;
  Data bytes_;
  SignatureBlobs blobs_;
  /// The one that the signer signed comes first.
  std::vector<CodeDirectory> directories_;
  std::optional<CmsSigner> signer_;
  SigningInformation information_;
};

}  // namespace qrt
