// Who signed some bytes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"
#include "platform/CodeSigning.h"
#include "platform/linux/signing/BoundedBytes.h"
#include "platform/linux/signing/Digest.h"

namespace qrt {

/// What an intact signature attests.
struct CmsSigner {
  /// Each signed by the next, from the signer's own to one that is signed by itself.
  std::vector<SigningCertificate> certificates;
  /// The one team that the signer may sign for, where the certificate names one. That of a store,
  /// which signs for all, does not.
  std::optional<std::string> team;

  struct DirectoryDigest {
    DigestKind kind;
    Data digest;
  };
  /// What the signer says beside the signed bytes: the hashes of all code directories, in the
  /// newer form by the kinds of hash, in the older form as a property list. Empty when not said.
  std::vector<DirectoryDigest> directoryDigests;
  Data directoryList;
};

/// Verifies a CMS signature of `content`, which the message itself does not hold. None unless it
/// has one signer, is intact, and its own certificates lead from one that may sign code to an
/// anchor. Dates do not count: what was signed stays so when certificates expire.
std::optional<CmsSigner> verifiedCmsSigner(Bytes message, Bytes content);

}  // namespace qrt
