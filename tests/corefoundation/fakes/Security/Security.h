// Signed code: a dictionary of signing information beside the outcome of a check.
#pragma once

#include <Security/Authorization.h>

using SecStaticCodeRef = CFDictionaryRef;
using SecCertificateRef = CFMutableDataRef;

constexpr OSStatus errSecSuccess = 0, errSecCSUnsigned = -67062;
constexpr std::uint32_t kSecCSDefaultFlags = 0, kSecCSSigningInformation = 2;
inline const CFStringRef kSecCodeInfoIdentifier = CFSTR("identifier"),
                         kSecCodeInfoTeamIdentifier = CFSTR("teamid"),
                         kSecCodeInfoCertificates = CFSTR("certificates");

struct FakeCode {
  /// Null when there is no code.
  CFDictionaryRef information = nullptr;
  OSStatus validity = errSecSuccess;
};
inline FakeCode fakeCode;

inline OSStatus SecStaticCodeCreateWithPath(CFURLRef, std::uint32_t, SecStaticCodeRef* code) {
  if (!fakeCode.information) return -1;
  *code = static_cast<SecStaticCodeRef>(CFRetain(fakeCode.information));
  return errSecSuccess;
}
inline OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, std::uint32_t,
                                              CFDictionaryRef* information) {
  *information = static_cast<CFDictionaryRef>(CFRetain(code));
  return errSecSuccess;
}
inline OSStatus SecStaticCodeCheckValidityWithErrors(SecStaticCodeRef, std::uint32_t, void*,
                                                     CFErrorRef*) {
  return fakeCode.validity;
}
inline CFTypeID SecCertificateGetTypeID() { return CFDataGetTypeID(); }
inline OSStatus SecCertificateCopyCommonName(SecCertificateRef certificate, CFStringRef* name) {
  *name = CFStringCreateFromExternalRepresentation(nullptr, certificate, kCFStringEncodingUTF8);
  return errSecSuccess;
}
inline CFDataRef SecCertificateCopyData(SecCertificateRef certificate) {
  return CFDataCreateCopy(nullptr, certificate);
}
