// Who signed some bytes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/CodeSigning.h"
#include "platform/linux/signing/SignedFiles.h"

namespace qrt {

/// What an intact signature proves.
struct CmsSigner {
  /// Each is signed by the next, from the signer's own to a self-signed one.
  std::vector<SigningCertificate> certificates;
  /// The only team that the signer may sign for, when the certificate names one. A store signs for
  /// all teams.
  std::optional<std::string> team;

  struct DirectoryDigest {
    DigestKind kind;
    Data digest;
  };
  /// The signer's lists of the hashes of all code directories: the newer form, and the older one, a
  /// property list. Empty when the signature has no such list.
  std::vector<DirectoryDigest> directoryDigests;
  Data directoryList;
};

/// Verifies a CMS signature of `content`, which the message itself does not contain. None unless it
/// has one signer, is intact, and its own certificates lead from one that may sign code to a
/// self-signed one. Dates do not count: what was signed stays so when certificates expire.
std::optional<CmsSigner> verifiedCmsSigner(Bytes message, Bytes content);

}  // namespace qrt
