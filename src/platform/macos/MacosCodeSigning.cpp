#include "platform/CodeSigning.h"

#include <CommonCrypto/CommonDigest.h>
#include <Security/Security.h>

#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

std::optional<std::string> optionalText(CFStringRef string) {
  if (!string) return std::nullopt;
  return textFrom(string);
}

SigningCertificate signingCertificate(SecCertificateRef certificate) {
  SigningCertificate copy;
  CFOwner<CFStringRef> commonName;
  if (SecCertificateCopyCommonName(certificate, commonName.receiver()) == errSecSuccess) {
    copy.commonName = optionalText(commonName.get());
  }
  static_assert(std::tuple_size_v<decltype(copy.digest)> == CC_SHA1_DIGEST_LENGTH);
  const CFOwner<CFDataRef> encoded(SecCertificateCopyData(certificate));
  if (encoded) {
    CC_SHA1(CFDataGetBytePtr(encoded.get()), static_cast<CC_LONG>(CFDataGetLength(encoded.get())),
            copy.digest.data());
  }
  return copy;
}

std::vector<SigningCertificate> signingCertificates(CFArrayRef certificates) {
  std::vector<SigningCertificate> chain;
  const auto count = certificates ? CFArrayGetCount(certificates) : 0;
  for (CFIndex i = 0; i < count; ++i) {
    const auto certificate = castObject<SecCertificateRef>(CFArrayGetValueAtIndex(certificates, i),
                                                           SecCertificateGetTypeID());
    if (certificate) chain.push_back(signingCertificate(certificate));
  }
  return chain;
}

template <class T>
T entry(const CFOwner<CFDictionaryRef>& dictionary, CFStringRef key, CFTypeID typeID) {
  return castObject<T>(CFDictionaryGetValue(dictionary.get(), key), typeID);
}

/// A file that a check reports, usually as a URL.
PropertyValue fileValue(CFTypeRef object) {
  if (const auto* url = castObject<CFURLRef>(object, CFURLGetTypeID())) return pathFrom(url);
  if (auto value = valueFrom(object)) return std::move(*value);
  const CFOwner<CFStringRef> description(CFCopyDescription(object));
  return textFrom(description.get());
}

/// An array of files stays an array, also with one file. Other entries become one value.
PropertyValue complaintValue(CFTypeRef object) {
  const auto* files = castObject<CFArrayRef>(object, CFArrayGetTypeID());
  if (!files) return fileValue(object);
  Array values;
  const auto count = CFArrayGetCount(files);
  for (CFIndex i = 0; i < count; ++i) {
    values.push_back(fileValue(CFArrayGetValueAtIndex(files, i)));
  }
  return values;
}

void addComplaint(const void* key, const void* object, void* userInfo) {
  const auto* name = castObject<CFStringRef>(key, CFStringGetTypeID());
  if (!name) return;
  static_cast<Dictionary*>(userInfo)->insert_or_assign(textFrom(name), complaintValue(object));
}

Error validityError(CFErrorRef error) {
  Error copy{textFrom(CFErrorGetDomain(error)), CFErrorGetCode(error), {}};
  const CFOwner<CFDictionaryRef> complaints(CFErrorCopyUserInfo(error));
  if (complaints) CFDictionaryApplyFunction(complaints.get(), addComplaint, &copy.userInfo);
  return copy;
}

class SecurityStaticCode final : public StaticCode {
 public:
  explicit SecurityStaticCode(CFOwner<SecStaticCodeRef> code) : code_(std::move(code)) {}

  std::optional<SigningInformation> signingInformation() override {
    CFOwner<CFDictionaryRef> information;
    const auto status = SecCodeCopySigningInformation(code_.get(), kSecCSSigningInformation,
                                                      information.receiver());
    if (status != errSecSuccess || !information) return std::nullopt;
    const auto identifier =
        entry<CFStringRef>(information, kSecCodeInfoIdentifier, CFStringGetTypeID());
    // Code without a signature has no identifier.
    if (!identifier) return std::nullopt;
    SigningInformation copy;
    copy.identifier = textFrom(identifier);
    copy.teamIdentifier = optionalText(
        entry<CFStringRef>(information, kSecCodeInfoTeamIdentifier, CFStringGetTypeID()));
    copy.certificates = signingCertificates(
        entry<CFArrayRef>(information, kSecCodeInfoCertificates, CFArrayGetTypeID()));
    return copy;
  }

  Outcome checkValidity() override {
    CFOwner<CFErrorRef> error;
    const auto status = SecStaticCodeCheckValidityWithErrors(code_.get(), kSecCSDefaultFlags,
                                                             nullptr, error.receiver());
    if (status == errSecSuccess) return success;
    if (error) return validityError(error.get());
    return osStatusError(status);
  }

 private:
  const CFOwner<SecStaticCodeRef> code_;
};

/// Signatures as the system's Security framework reads and checks them.
class MacosCodeSigning final : public CodeSigning {
 public:
  std::unique_ptr<StaticCode> staticCode(const std::string& path) override {
    constexpr bool isFolder = false;
    const auto url = cfFileURL(path, isFolder);
    if (!url) return nullptr;
    CFOwner<SecStaticCodeRef> code;
    const auto status = SecStaticCodeCreateWithPath(url.get(), kSecCSDefaultFlags, code.receiver());
    if (status != errSecSuccess) return nullptr;
    return std::make_unique<SecurityStaticCode>(std::move(code));
  }
};

}  // namespace

std::unique_ptr<CodeSigning> makeCodeSigning() { return std::make_unique<MacosCodeSigning>(); }

}  // namespace qrt
