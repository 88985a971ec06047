// Signatures of programs and bundles.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"

namespace qrt {

/// Codes of `osStatusErrorDomain` that a validity check fails with; the same on every port.
namespace code_signing_status {
/// Bytes of the executable are not those that were signed, or its signature names no hash for them.
inline constexpr std::int32_t signatureFailed = -67061;
/// There is no signature.
inline constexpr std::int32_t notSigned = -67062;
/// The signature cannot be read, or it is of a kind that is not known.
inline constexpr std::int32_t signatureUnsupported = -67059;
/// The information file is not the one that was signed.
inline constexpr std::int32_t infoPlistFailed = -67030;
/// The list of sealed files is not the one that was signed, or cannot be read.
inline constexpr std::int32_t resourcesInvalid = -67055;
/// Files of the bundle are not as they were sealed; the user information says which.
inline constexpr std::int32_t badResource = -67054;
}  // namespace code_signing_status

/// Keys of a `badResource` error's user information. The value of each is an array with the paths
/// of the files, strings, in no particular order. A key without files is not there. A long list may
/// be cut short, but never to a single path.
inline constexpr std::string_view resourceAddedKey = "SecCSResourceAdded";
inline constexpr std::string_view resourceAlteredKey = "SecCSResourceAltered";
inline constexpr std::string_view resourceMissingKey = "SecCSResourceMissing";

struct SigningCertificate {
  /// None when the certificate has none or it cannot be read.
  std::optional<std::string> commonName;
  /// SHA-1 of the certificate as it is encoded.
  std::array<std::uint8_t, 20> digest{};

  friend bool operator==(const SigningCertificate&, const SigningCertificate&) = default;
};

/// What a signature says, whether or not it is valid. For programs of several processor types in
/// one file it is that of the first.
struct SigningInformation {
  std::optional<std::string> identifier;
  std::optional<std::string> teamIdentifier;
  /// From the signer's own to the anchor. Empty for an ad hoc signature, which has hashes but no
  /// signer, and when no chain leads from the signer to an anchor.
  std::vector<SigningCertificate> certificates;

  friend bool operator==(const SigningInformation&, const SigningInformation&) = default;
};

/// Signed code on disk. Both answers are about one and the same signature: the one that was there
/// when the object was made, however often the files are exchanged meanwhile. For one thread.
class StaticCode {
 public:
  virtual ~StaticCode() = default;

  /// None when there is no signature that can be read.
  virtual std::optional<SigningInformation> signingInformation() = 0;

  /// Success when the signature is intact and everything is as it was signed: the executable, the
  /// information file and the resources, with nothing added beyond what the signature allows. All
  /// programs of one file have the same certificates and team. Success does not mean that the
  /// signer is to be trusted: the caller decides that from the last certificate. Expired
  /// certificates do not count. An ad hoc signature is `signatureFailed` on Linux; macOS accepts it
  /// when the hashes match, and its list of certificates is empty.
  virtual Outcome checkValidity() = 0;
};

/// Thread-safe. Code that is examined is not trusted: whatever its files hold, each question is
/// answered, with the memory and time that code of its size can rightly need.
class CodeSigning {
 public:
  virtual ~CodeSigning() = default;

  /// The program or the bundle that a path leads to. Null when there is neither.
  virtual std::unique_ptr<StaticCode> staticCode(const std::string& path) = 0;
};

}  // namespace qrt
