#include "system/PreferenceOperations.h"

#include "operations/PrivilegedOperationError.h"
#include "operations/PropertyListArgument.h"
#include "platform/Platform.h"
#include "platform/Preferences.h"

namespace qrt {
namespace {

/// Both names of the domain that all applications share.
bool isAnyApplication(std::string_view application) {
  return application == "NSGlobalDomain" || application == "kCFPreferencesAnyApplication";
}

PreferenceSelector selectorFor(const std::string& text, std::string_view any,
                               std::string_view current) {
  if (text == any) return {PreferenceSelector::Kind::any};
  if (text == current) return {PreferenceSelector::Kind::current};
  return {PreferenceSelector::Kind::named, text};
}

Outcome performOperationModifyPreferencesWithArguments(const Array& arguments,
                                                       Preferences& preferences,
                                                       PropertyLists& propertyLists) {
  const auto& key = *arguments[0].string();
  const auto& application = *arguments[1].string();
  const auto& user = *arguments[2].string();
  const auto& host = *arguments[3].string();
  const bool isComplete = !key.empty() && !application.empty() && !user.empty() && !host.empty();
  if (!isComplete) return posixError(PosixCode::invalidArgument);
  const auto value = valueFromText(propertyLists, *arguments[4].string());
  if (!value) return value.error();

  PreferenceDomain domain;
  if (!isAnyApplication(application)) domain.application = application;
  domain.user = selectorFor(user, "kCFPreferencesAnyUser", "kCFPreferencesCurrentUser");
  domain.host = selectorFor(host, "kCFPreferencesAnyHost", "kCFPreferencesCurrentHost");
  if (!preferences.setValue(domain, key, *value)) return preferenceSettingError();
  return success;
}

}  // namespace

Error preferenceSettingError() {
  return privilegedOperationError(
      10, "A preference setting could not be updated successfully.",
      "The operating system was unable to change a preference setting. Please ensure to "
      "authenticate as administrator.");
}

void registerPreferenceHandlers(HandlerTable& handlers) {
  handlers.add("performOperationModifyPreferencesWithArguments:",
               [](const Platform& platform, const Array& arguments, FeedbackConnection*) {
                 return performOperationModifyPreferencesWithArguments(
                     arguments, platform.preferences, platform.propertyLists);
               });
}

}  // namespace qrt
