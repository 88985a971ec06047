// Whether an application is an authentic installer of the operating system.
#pragma once

#include <optional>
#include <string>

#include "base/PropertyValue.h"
#include "platform/ApplicationRegistry.h"
#include "platform/CodeSigning.h"

namespace qrt {

struct Platform;
class QRTBundle;

/// Examines the application at construction. Trusts nothing that the application says of itself.
/// Thread-safe.
class OSInstallAppValidator {
 public:
  /// Nothing unless it is the URL of a file.
  static std::optional<OSInstallAppValidator> initWithURL(const ApplicationURL& url,
                                                          const Platform& platform);

  /// Whether a signer is acceptable.
  using SignerQuestion = bool (*)(const SigningInformation&);

  /// True if the object is as it was signed; only then `getProperties`, unless null, gets the
  /// contents of the signature. With a question, files of other signers are not checked, because
  /// any user can make a bundle that takes long.
  static bool isCodeSignatureValidForObjectAtURL(
      const ApplicationURL& url, CodeSigning& codeSigning,
      std::optional<SigningInformation>* getProperties = nullptr,
      SignerQuestion isWanted = nullptr);

  /// Also true if only the disk image was added after the application was signed.
  static bool isCodeSignatureValidForMavericksInstallerAtURL(
      const ApplicationURL& url, CodeSigning& codeSigning,
      std::optional<SigningInformation>* getProperties = nullptr,
      SignerQuestion isWanted = nullptr);

  /// Whether the signer's certificates lead to the maker's own root.
  static bool isAppleSourcedCodesigningInfo(const SigningInformation& info);

  /// Whether the maker also signed with its internal certificate. A certificate without a readable
  /// name counts as internal.
  static bool isAppleSourcedAndInternallySignedCodesigningInfo(const SigningInformation& info);

  /// False for an empty identifier.
  static bool isTeamIdentifier(const std::string& identifier,
                               const std::optional<SigningInformation>& inCodesigningInfo);

  /// The name of the system that it installs.
  const std::optional<std::string>& osDescription() const { return osDescription_; }
  /// The tool that makes install media.
  const std::optional<std::string>& mediaUtilityPath() const { return mediaUtilityPath_; }
  /// It has the parts and the description of an installer.
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
