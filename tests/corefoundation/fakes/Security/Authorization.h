// Authorizations and the rights database. References are counted, external forms hold one byte.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <map>
#include <string>

using OSStatus = int;
struct AuthorizationOpaqueRef {
  std::uint32_t freedWith = 0;
};
using AuthorizationRef = AuthorizationOpaqueRef*;
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
  /// Right and environment of the last question: "right name=value".
  std::string asked;
  std::map<std::string, std::string> rights;
};
inline FakeAuthorizations fakeAuthorizations;

inline OSStatus AuthorizationCreate(const AuthorizationRights*, const AuthorizationEnvironment*,
                                    std::uint32_t, AuthorizationRef* reference) {
  ++fakeAuthorizations.references;
  *reference = new AuthorizationOpaqueRef;
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
inline OSStatus AuthorizationCopyRights(AuthorizationRef, const AuthorizationRights* rights,
                                        const AuthorizationEnvironment* environment, std::uint32_t,
                                        void*) {
  fakeAuthorizations.asked = rights->items->name;
  for (std::uint32_t i = 0; i < environment->count; ++i) {
    const auto& item = environment->items[i];
    fakeAuthorizations.asked += std::string(" ") + item.name + "=" +
                                std::string(static_cast<char*>(item.value), item.valueLength);
  }
  return errAuthorizationDenied;
}
inline OSStatus AuthorizationRightGet(const char* name, void*) {
  return fakeAuthorizations.rights.count(name) ? errAuthorizationSuccess : errAuthorizationDenied;
}
inline OSStatus AuthorizationRightSet(AuthorizationRef, const char* name, CFTypeRef, CFStringRef,
                                      void*, CFStringRef) {
  fakeAuthorizations.rights[name];
  return errAuthorizationSuccess;
}
inline OSStatus AuthorizationRightRemove(AuthorizationRef, const char* name) {
  return fakeAuthorizations.rights.erase(name) ? errAuthorizationSuccess : errAuthorizationDenied;
}
