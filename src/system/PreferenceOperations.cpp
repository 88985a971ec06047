#include "system/PreferenceOperations.h"

#include "operations/ArgumentConverters.h"
#include "operations/Arguments.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/Platform.h"
#include "platform/Preferences.h"

namespace qrt {
namespace {

/// Whether it is a name of the domain that all applications share.
bool isAnyApplication(std::string_view application) {
  return application == "NSGlobalDomain" || application == "kCFPreferencesAnyApplication";
}

PreferenceSelector selectorFor(const std::string& text, std::string_view any,
                               std::string_view current) {
  if (text == any) return {PreferenceSelector::Kind::any};
  if (text == current) return {PreferenceSelector::Kind::current};
  return {PreferenceSelector::Kind::named, text};
}

}  // namespace

Outcome performOperationModifyPreferencesWithArguments(const Platform& platform,
                                                       const Array& arguments,
                                                       FeedbackConnection*) {
  const auto [key, application, user, host, text] =
      unpack<std::string, std::string, std::string, std::string, std::string>(arguments);
  const bool isComplete = !key.empty() && !application.empty() && !user.empty() && !host.empty();
  if (!isComplete) return posixError(PosixCode::invalidArgument);
  const auto value = valueFromText(text);
  if (!value) return value.error();

  PreferenceDomain domain;
  if (!isAnyApplication(application)) domain.application = application;
  domain.user = selectorFor(user, "kCFPreferencesAnyUser", "kCFPreferencesCurrentUser");
  domain.host = selectorFor(host, "kCFPreferencesAnyHost", "kCFPreferencesCurrentHost");
  if (!platform.preferences.setValue(domain, key, *value)) return preferenceSettingError();
  return success;
}

Error preferenceSettingError() {
  return privilegedOperationError(
      10, "A preference setting could not be updated successfully.",
      "The operating system was unable to change a preference setting. Please ensure to "
      "authenticate as administrator.");
}

}  // namespace qrt
