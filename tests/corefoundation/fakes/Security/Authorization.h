// Authorizations. References are counted, external forms hold one byte. There are no rights.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

using OSStatus = int;
using AuthorizationRef = int*;
struct AuthorizationExternalForm {
  char bytes[32];
};
struct AuthorizationItem {
  const char* name;
  std::size_t valueLength;
  void* value;
  std::uint32_t flags;
};
struct AuthorizationRights {
  std::uint32_t count;
  AuthorizationItem* items;
};
using AuthorizationEnvironment = AuthorizationRights;

constexpr OSStatus errAuthorizationSuccess = 0, errAuthorizationDenied = -60005,
                   errAuthorizationInvalidRef = -60002;
constexpr std::uint32_t kAuthorizationFlagDefaults = 0, kAuthorizationFlagInteractionAllowed = 1,
                        kAuthorizationFlagExtendRights = 2, kAuthorizationFlagDestroyRights = 8;
inline const AuthorizationEnvironment* const kAuthorizationEmptyEnvironment = nullptr;

struct FakeAuthorizations {
  int references = 0;
  std::uint32_t freedWith = 0;
};
inline FakeAuthorizations fakeAuthorizations;

inline OSStatus AuthorizationCreate(const AuthorizationRights*, const AuthorizationEnvironment*,
                                    std::uint32_t, AuthorizationRef* reference) {
  ++fakeAuthorizations.references;
  *reference = new int(0);
  return errAuthorizationSuccess;
}
inline OSStatus AuthorizationFree(AuthorizationRef reference, std::uint32_t flags) {
  --fakeAuthorizations.references;
  fakeAuthorizations.freedWith = flags;
  delete reference;
  return errAuthorizationSuccess;
}
inline OSStatus AuthorizationMakeExternalForm(AuthorizationRef, AuthorizationExternalForm* form) {
  *form = {{'\7'}};
  return errAuthorizationSuccess;
}
/// A reference comes with a failure as well.
inline OSStatus AuthorizationCreateFromExternalForm(const AuthorizationExternalForm* form,
                                                    AuthorizationRef* reference) {
  AuthorizationCreate(nullptr, nullptr, 0, reference);
  return form->bytes[0] == 7 ? errAuthorizationSuccess : errAuthorizationInvalidRef;
}
inline OSStatus AuthorizationCopyRights(AuthorizationRef, const AuthorizationRights*,
                                        const AuthorizationEnvironment*, std::uint32_t, void*) {
  return errAuthorizationDenied;
}
inline OSStatus AuthorizationRightGet(const char*, void*) { return errAuthorizationDenied; }
inline OSStatus AuthorizationRightSet(AuthorizationRef, const char*, CFTypeRef, CFStringRef, void*,
                                      CFStringRef) {
  return errAuthorizationDenied;
}
inline OSStatus AuthorizationRightRemove(AuthorizationRef, const char*) {
  return errAuthorizationDenied;
}
