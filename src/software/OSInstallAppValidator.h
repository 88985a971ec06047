// Whether an application is an installer of the operating system, and the maker's own.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "platform/ApplicationRegistry.h"
#include "platform/CodeSigning.h"

namespace qrt {

struct Platform;
class QRTBundle;

/// The answers are those at the time of creation. What the application says of itself is not
/// trusted. Thread-safe.
class OSInstallAppValidator {
 public:
  /// None for what is not the URL of a file.
  static std::optional<OSInstallAppValidator> initWithURL(const ApplicationURL& url,
                                                          const Platform& platform);

  /// Whether a signer is wanted, by what a signature says.
  using SignerQuestion = bool (*)(const SigningInformation&);

  /// True when the object is as it was signed; only then `getProperties`, which may be null, gets
  /// what the signature says. With a question, code of others is not looked at: anybody can make
  /// some that takes long.
  static bool isCodeSignatureValidForObjectAtURL(
      const ApplicationURL& url, CodeSigning& codeSigning,
      std::optional<SigningInformation>* getProperties = nullptr,
      SignerQuestion isWanted = nullptr);

  /// The same for an application whose disk image was added after it had been signed.
  static bool isCodeSignatureValidForMavericksInstallerAtURL(
      const ApplicationURL& url, CodeSigning& codeSigning,
      std::optional<SigningInformation>* getProperties = nullptr,
      SignerQuestion isWanted = nullptr);

  /// Whether the signer's certificates lead to the maker's own root.
  static bool isAppleSourcedCodesigningInfo(const SigningInformation& info);

  /// Whether the maker also signed with a certificate of its own. A certificate without a readable
  /// name will do.
  static bool isAppleSourcedAndInternallySignedCodesigningInfo(const SigningInformation& info);

  /// False for an empty identifier.
  static bool isTeamIdentifier(const std::string& identifier,
                               const std::optional<SigningInformation>& inCodesigningInfo);

  /// Of what is installed.
  const std::optional<std::string>& osDescription() const { return osDescription_; }
  /// Of the tool that makes install media.
  const std::optional<std::string>& mediaUtilityPath() const { return mediaUtilityPath_; }
  /// It has the parts of an installer and says what it installs.
  bool isWellFormed() const { return isWellFormed_; }
  bool isAuthentic() const { return isAuthentic_; }

  std::string description() const;

 private:
  OSInstallAppValidator() = default;

  void validate(const ApplicationURL& url, const Platform& platform);

  std::optional<std::string> osDescription_;
  std::optional<std::string> mediaUtilityPath_;
  bool isWellFormed_ = false;
  bool isAuthentic_ = false;
};

}  // namespace qrt
