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

/// Codes of `osStatusErrorDomain` with which a validity check fails; the same on every port.
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
/// Files of the bundle differ from the seal; the user information lists them.
inline constexpr std::int32_t badResource = -67054;
}  // namespace code_signing_status

/// Keys of a `badResource` error's user information. Each value is an array of paths, strings in no
/// particular order. A key without files is absent. A long list may be cut, but never to a single
/// path.
inline constexpr std::string_view resourceAddedKey = "SecCSResourceAdded";
inline constexpr std::string_view resourceAlteredKey = "SecCSResourceAltered";
inline constexpr std::string_view resourceMissingKey = "SecCSResourceMissing";

struct SigningCertificate {
  /// No value when the certificate has no common name or it cannot be read.
  std::optional<std::string> commonName;
  /// SHA-1 of the encoded certificate.
  std::array<std::uint8_t, 20> digest{};

  friend bool operator==(const SigningCertificate&, const SigningCertificate&) = default;
};

/// The contents of a signature, valid or not. In a file with programs for several processor types,
/// the signature of the first program.
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

  /// No value when there is no readable signature.
  virtual std::optional<SigningInformation> signingInformation() = 0;

  /// Success when the signature is intact and everything is as it was signed: the executable, the
  /// information file and the resources, with nothing added beyond what the signature allows. All
  /// programs of one file have the same certificates and team. Success does not mean that the
  /// signer is to be trusted: the caller decides that from the last certificate. Expired
  /// certificates do not count. An ad hoc signature is `signatureFailed` on Linux; macOS accepts it
  /// when the hashes match, and its list of certificates is empty.
  virtual Outcome checkValidity() = 0;
};

/// Thread-safe. The examined code is not trusted: whatever its files contain, each call returns,
/// and takes no more memory and time than valid code of that size needs.
class CodeSigning {
 public:
  virtual ~CodeSigning() = default;

  /// The program or bundle at a path. Null when the path is neither.
  virtual std::unique_ptr<StaticCode> staticCode(const std::string& path) = 0;
};

}  // namespace qrt
