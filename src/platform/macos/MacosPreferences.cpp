#include "platform/Preferences.h"

#include <CoreFoundation/CoreFoundation.h>

#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

struct SelectorConstants {
  CFStringRef any;
  CFStringRef current;
};

/// Null for a name that is no text.
CFOwner<CFStringRef> nameOf(const PreferenceSelector& selector,
                            const SelectorConstants& constants) {
  switch (selector.kind) {
    case PreferenceSelector::Kind::any:
      return CFOwner<CFStringRef>::sharing(constants.any);
    case PreferenceSelector::Kind::current:
      return CFOwner<CFStringRef>::sharing(constants.current);
    case PreferenceSelector::Kind::named:
      return cfString(selector.name);
  }
  return {};
}

CFOwner<CFStringRef> nameOf(const std::optional<std::string>& application) {
  if (application) return cfString(*application);
  return CFOwner<CFStringRef>::sharing(kCFPreferencesAnyApplication);
}

/// Preferences as the system's applications keep them.
class MacosPreferences final : public Preferences {
 public:
  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override {
    const auto name = cfString(key);
    const auto application = nameOf(domain.application);
    const auto user = nameOf(domain.user, {kCFPreferencesAnyUser, kCFPreferencesCurrentUser});
    const auto host = nameOf(domain.host, {kCFPreferencesAnyHost, kCFPreferencesCurrentHost});
    const auto object = value ? cfValue(*value) : CFOwner<CFTypeRef>();
    const bool isText = name && application && user && host && (object || !value);
    if (!isText) return false;
    // Null removes the key.
    CFPreferencesSetValue(name.get(), object.get(), application.get(), user.get(), host.get());
    return CFPreferencesSynchronize(application.get(), user.get(), host.get());
  }
};

}  // namespace

std::unique_ptr<Preferences> makePreferences() { return std::make_unique<MacosPreferences>(); }

}  // namespace qrt
