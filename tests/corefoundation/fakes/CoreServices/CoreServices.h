// Applications, metadata and identities, as a test sets them.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

using MDItemRef = CFStringRef;
using CSIdentityRef = CFNumberRef;
using CSIdentityQueryRef = CFArrayRef;
using CSIdentityAuthorityRef = int;

constexpr int kCSIdentityClassUser = 1, kCSIdentityQueryIncludeHiddenIdentities = 2;
inline const CFStringRef kMDItemLastUsedDate = CFSTR("kMDItemLastUsedDate");

struct FakeServices {
  CFArrayRef applications = nullptr;
  CFTypeRef lastUsed = nullptr;
  /// Numbers; null when the authority does not answer.
  CFArrayRef identities = nullptr;
};
inline FakeServices fakeServices;

template <class T>
T fakeCopy(T object) {
  if (object) CFRetain(object);
  return object;
}
inline CFArrayRef LSCopyApplicationURLsForBundleIdentifier(CFStringRef, CFErrorRef*) {
  return fakeCopy(fakeServices.applications);
}
inline MDItemRef MDItemCreate(CFAllocatorRef, CFStringRef path) {
  return CFStringHasPrefix(path, CFSTR("/none")) ? nullptr : fakeCopy(path);
}
inline CFTypeRef MDItemCopyAttribute(MDItemRef, CFStringRef) {
  return fakeCopy(fakeServices.lastUsed);
}
inline CSIdentityAuthorityRef CSGetDefaultIdentityAuthority() { return 0; }
inline CSIdentityQueryRef CSIdentityQueryCreate(CFAllocatorRef, int, CSIdentityAuthorityRef) {
  return fakeCopy(fakeServices.identities);
}
inline bool CSIdentityQueryExecute(CSIdentityQueryRef, int flags, CFErrorRef*) {
  return flags == kCSIdentityQueryIncludeHiddenIdentities;
}
inline CFArrayRef CSIdentityQueryCopyResults(CSIdentityQueryRef query) { return fakeCopy(query); }
inline CFTypeID CSIdentityGetTypeID() { return CFNumberGetTypeID(); }
inline unsigned CSIdentityGetPosixID(CSIdentityRef identity) {
  int number = 0;
  CFNumberGetValue(identity, kCFNumberIntType, &number);
  return static_cast<unsigned>(number);
}
