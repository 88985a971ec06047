// One set of preferences, whose one network service is "service".
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>

using SCPreferencesRef = CFMutableDictionaryRef;
using SCNetworkServiceRef = CFStringRef;
using SCNetworkProtocolRef = CFStringRef;

inline const CFStringRef kSCNetworkProtocolTypeIPv6 = CFSTR("IPv6");

struct FakeConfiguration {
  /// Null when the preferences cannot be opened.
  CFMutableDictionaryRef values = nullptr;
  bool hasIPv6 = true;
  /// l, u: locked, unlocked; a, c: applied, committed; 1, 0: IPv6 was enabled, disabled.
  std::string calls;
};
inline FakeConfiguration fakeConfiguration;

inline bool fakeCall(const char* letter) {
  fakeConfiguration.calls += letter;
  return true;
}
inline SCPreferencesRef SCPreferencesCreate(CFAllocatorRef, CFStringRef, CFStringRef identifier) {
  const auto values = identifier ? nullptr : fakeConfiguration.values;
  if (values) CFRetain(values);
  return values;
}
inline bool SCPreferencesLock(SCPreferencesRef, bool wait) { return wait && fakeCall("l"); }
inline void SCPreferencesUnlock(SCPreferencesRef) { fakeCall("u"); }
inline bool SCPreferencesSetValue(SCPreferencesRef values, CFStringRef key, CFTypeRef value) {
  CFDictionarySetValue(values, key, value);
  return true;
}
inline bool SCPreferencesRemoveValue(SCPreferencesRef values, CFStringRef key) {
  const bool isThere = CFDictionaryContainsKey(values, key);
  CFDictionaryRemoveValue(values, key);
  return isThere;
}
inline bool SCPreferencesApplyChanges(SCPreferencesRef) { return fakeCall("a"); }
inline bool SCPreferencesCommitChanges(SCPreferencesRef) { return fakeCall("c"); }
inline SCNetworkServiceRef SCNetworkServiceCopy(SCPreferencesRef, CFStringRef name) {
  return CFEqual(name, CFSTR("service")) ? static_cast<CFStringRef>(CFRetain(name)) : nullptr;
}
inline SCNetworkProtocolRef SCNetworkServiceCopyProtocol(SCNetworkServiceRef, CFStringRef type) {
  return fakeConfiguration.hasIPv6 ? static_cast<CFStringRef>(CFRetain(type)) : nullptr;
}
inline bool SCNetworkProtocolSetEnabled(SCNetworkProtocolRef, bool isEnabled) {
  return fakeCall(isEnabled ? "1" : "0");
}
