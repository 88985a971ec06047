// Certificates and signatures that a test makes for itself.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt::test {

/// A new root, an authority below it and a certificate that signs code.
class SigningChain {
 public:
  struct Options {
    std::string rootName = "Apple Root CA";
    std::string leafName = "Software Signing";
    /// The organizational unit of the last certificate.
    std::optional<std::string> team = std::nullopt;
    std::string purpose = "codeSigning";
    bool authorityMayIssue = true;
    /// Whether the message contains the root.
    bool includesRoot = true;
    /// Marks the last certificate as a store's; all expired long ago.
    bool isOldStores = false;
  };

  SigningChain() : SigningChain(Options()) {}
  explicit SigningChain(const Options& options);

  /// SHA-1 of the root's encoding.
  Data rootDigest() const;

  /// The detached CMS signature of the content, with the signer's lists of code directories: the
  /// older one, or nothing, and the encoded pairs of the newer one.
  Data sign(const Data& content, const Data& olderList, const std::vector<Data>& newerList) const;

 private:
  struct Parts;
  std::shared_ptr<Parts> parts_;
};

/// `kind` as signatures number them: 1 SHA-1, 2 SHA-256, 3 SHA-256 cut to 20 bytes, 4 SHA-384.
Data testDigest(unsigned kind, const Data& bytes);

}  // namespace qrt::test
