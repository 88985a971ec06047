// Certificates and signatures that a test makes for itself.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/PropertyValue.h"

namespace qrt::test {

/// A signed statement beside the content of a CMS signature.
struct SignedAttribute {
  /// Dotted numbers.
  std::string type;
  /// The DER of a sequence when `isEncoded`, else the contents of an octet string.
  Data value;
  bool isEncoded = false;
};

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
    bool isExpired = false;
    /// Marks the last certificate as a store's.
    bool isStores = false;
  };

  SigningChain() : SigningChain(Options()) {}
  explicit SigningChain(const Options& options);
  ~SigningChain();

  /// SHA-1 of the root's encoding.
  Data rootDigest() const;

  /// The detached CMS signature of the content.
  Data sign(const Data& content, const std::vector<SignedAttribute>& attributes) const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

/// `kind` as signatures number them: 1 SHA-1, 2 SHA-256, 3 SHA-256 cut to 20 bytes, 4 SHA-384.
Data testDigest(unsigned kind, const Data& bytes);

}  // namespace qrt::test
