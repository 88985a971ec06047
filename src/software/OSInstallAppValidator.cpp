#include "software/OSInstallAppValidator.h"

#include <array>

#include "base/Path.h"
#include "platform/Platform.h"
#include "software/FileQueries.h"
#include "software/QRTBundle.h"

namespace qrt {
namespace {

constexpr const char* mavericksIdentifier = "com.apple.InstallAssistant.Mavericks";
constexpr const char* highSierraIdentifier = "com.apple.InstallAssistant.HighSierra";
constexpr const char* mavericksTeam = "APPLECOMPUTER";
constexpr const char* installerTeam = "K36BKF7T3D";

/// SHA-1 of the maker's root certificate.
constexpr std::array<std::uint8_t, 20> appleRootDigest = {0x61, 0x1E, 0x5B, 0x66, 0x2C, 0x59, 0x3A,
                                                          0x08, 0xFF, 0x58, 0xD1, 0x4A, 0xE2, 0x24,
                                                          0x52, 0xD1, 0x98, 0xDF, 0x6C, 0x60};

/// Whether the signature of the object is good, or its defect is tolerated.
template <class IsTolerated>
bool isSignatureValid(const ApplicationURL& url, CodeSigning& codeSigning,
                      std::optional<SigningInformation>* getProperties,
                      OSInstallAppValidator::SignerQuestion isWanted, IsTolerated isTolerated) {
  const auto code = codeSigning.staticCode(url.path);
  auto information = code ? code->signingInformation() : std::nullopt;
  if (!information || (isWanted && !isWanted(*information))) return false;
  const auto defect = code->checkValidity();
  if (defect && !isTolerated(*defect)) return false;
  if (getProperties) *getProperties = std::move(information);
  return true;
}

/// Whether the only defect is that this file was added.
bool isAddedDiskImage(const Error& defect) {
  const auto added = defect.userInfo.find(resourceAddedKey);
  if (defect.userInfo.size() != 1 || added == defect.userInfo.end()) return false;
  const auto* paths = added->second.array();
  const auto* path = paths && paths->size() == 1 ? paths->front().string() : nullptr;
  return path && path->ends_with("SharedSupport/InstallESD.dmg");
}

/// Newer installers have a file for it.
std::optional<std::string> descriptionInInstallInfo(const Dictionary& info) {
  const auto entry = info.find("System Image Info");
  const auto* image = entry == info.end() ? nullptr : entry->second.dictionary();
  const auto* version = image ? stringIn(*image, "version") : nullptr;
  return version ? std::optional("macOS " + *version) : std::nullopt;
}

std::optional<std::string> descriptionInName(const Dictionary& info) {
  constexpr std::string_view prefix = "Install ";
  const auto* name = stringIn(info, "CFBundleDisplayName");
  if (!name || !name->starts_with(prefix)) return std::nullopt;
  return name->substr(prefix.size());
}

/// The rule depends on the installer's identifier.
bool isAuthenticInstaller(const ApplicationURL& url, const QRTBundle& bundle,
                          const Dictionary& info, CodeSigning& codeSigning) {
  using Validator = OSInstallAppValidator;
  constexpr auto isMaker = Validator::isAppleSourcedCodesigningInfo;
  std::optional<SigningInformation> signature;
  const auto* identifier = stringIn(info, info_key::identifier);
  if (identifier && *identifier == mavericksIdentifier) {
    return Validator::isCodeSignatureValidForMavericksInstallerAtURL(url, codeSigning, &signature,
                                                                     isMaker) &&
           Validator::isTeamIdentifier(mavericksTeam, signature);
  }
  if (!Validator::isCodeSignatureValidForObjectAtURL(url, codeSigning, &signature, isMaker)) {
    return false;
  }
  if (bundle.bundleIdentifier() == highSierraIdentifier) {
    return Validator::isAppleSourcedAndInternallySignedCodesigningInfo(*signature);
  }
  return Validator::isTeamIdentifier(installerTeam, signature);
}

const char* yesOrNo(bool value) { return value ? "YES" : "NO"; }

}  // namespace

std::optional<OSInstallAppValidator> OSInstallAppValidator::initWithURL(const ApplicationURL& url,
                                                                        const Platform& platform) {
  if (url.scheme != "file") return std::nullopt;
  OSInstallAppValidator validator;
  validator.validate(url, platform);
  return validator;
}

void OSInstallAppValidator::validate(const ApplicationURL& url, const Platform& platform) {
  const auto bundle = QRTBundle::initWithPath(url.path, platform);
  const bool isSignedApplication = bundle && bundle->packageStyle() == PackageStyle::contents &&
                                   bundle->softwareType() == SoftwareType::application &&
                                   bundle->isCodesigned();
  if (!isSignedApplication) return;
  const FileQueries files(platform);
  mediaUtilityPath_ = path::appending(bundle->resourcesPath(), "createinstallmedia");
  if (!files.isFile(*mediaUtilityPath_)) return;

  const auto installInfoPath =
      path::appending(bundle->contentsPath(), "SharedSupport/InstallInfo.plist");
  const bool isNewer = files.exists(installInfoPath);
  const auto infoPath = isNewer ? std::optional(installInfoPath) : bundle->infoDictionaryPath();
  if (!infoPath) return;
  const auto info = files.dictionaryAt(*infoPath).value_or(Dictionary());
  osDescription_ = isNewer ? descriptionInInstallInfo(info) : descriptionInName(info);
  isWellFormed_ = osDescription_ && !osDescription_->empty();
  isAuthentic_ = isWellFormed_ && isAuthenticInstaller(url, *bundle, info, platform.codeSigning);
}

bool OSInstallAppValidator::isCodeSignatureValidForObjectAtURL(
    const ApplicationURL& url, CodeSigning& codeSigning,
    std::optional<SigningInformation>* getProperties, SignerQuestion isWanted) {
  return isSignatureValid(url, codeSigning, getProperties, isWanted,
                          [](const Error&) { return false; });
}

bool OSInstallAppValidator::isCodeSignatureValidForMavericksInstallerAtURL(
    const ApplicationURL& url, CodeSigning& codeSigning,
    std::optional<SigningInformation>* getProperties, SignerQuestion isWanted) {
  return isSignatureValid(url, codeSigning, getProperties, isWanted, isAddedDiskImage);
}

bool OSInstallAppValidator::isAppleSourcedCodesigningInfo(const SigningInformation& info) {
  if (info.certificates.empty()) return false;
  const auto& anchor = info.certificates.back();
  return anchor.commonName == "Apple Root CA" && anchor.digest == appleRootDigest;
}

bool OSInstallAppValidator::isAppleSourcedAndInternallySignedCodesigningInfo(
    const SigningInformation& info) {
  if (!isAppleSourcedCodesigningInfo(info)) return false;
  const auto& name = info.certificates.front().commonName;
  return !name || *name == "Software Signing";
}

bool OSInstallAppValidator::isTeamIdentifier(
    const std::string& identifier, const std::optional<SigningInformation>& inCodesigningInfo) {
  return !identifier.empty() && inCodesigningInfo &&
         inCodesigningInfo->teamIdentifier == identifier;
}

std::string OSInstallAppValidator::description() const {
  return "<OSInstallAppValidator>: installer for '" + osDescription_.value_or("(null)") +
         "', media utility at " + mediaUtilityPath_.value_or("(null)") +
         ", well-formed: " + yesOrNo(isWellFormed_) + " authentic: " + yesOrNo(isAuthentic_) + "\n";
}

}  // namespace qrt
