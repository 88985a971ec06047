#include "operations/PreferenceOperations.h"

#include <gtest/gtest.h>

#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "platform/Preferences.h"

namespace qrt {
namespace {

/// Preferences that tell what they were asked for.
class RecordingPreferences : public Preferences {
 public:
  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override {
    calls.push_back(key + "|" + domain.application.value_or("every") + "|" + text(domain.user) +
                    "|" + text(domain.host));
    lastValue = value;
    return isWorking;
  }

  bool isWorking = true;
  std::vector<std::string> calls;
  std::optional<PropertyValue> lastValue;

 private:
  static std::string text(const PreferenceSelector& selector) {
    switch (selector.kind) {
      case PreferenceSelector::Kind::any:
        return "any";
      case PreferenceSelector::Kind::current:
        return "current";
      default:
        return "named " + selector.name;
    }
  }
};

class PreferenceOperations : public testing::Test {
 protected:
  PreferenceOperations() {
    registerPreferenceHandlers(handlers, preferences, native.facilities().propertyLists);
  }

  Outcome modify(const Array& arguments) {
    return (*handlers.find("performOperationModifyPreferencesWithArguments:"))(arguments, nullptr);
  }

  const NativePlatform native;
  RecordingPreferences preferences;
  HandlerTable handlers;
};

TEST_F(PreferenceOperations, SelectorsStandForWhatTheyName) {
  const std::pair<Array, const char*> cases[] = {
      {{"k", "app", "ann", "box", "1"}, "k|app|named ann|named box"},
      {{"k", "NSGlobalDomain", "kCFPreferencesAnyUser", "kCFPreferencesAnyHost", "1"},
       "k|every|any|any"},
      {{"k", "nsglobaldomain", "kCFPreferencesCurrentUser", "kCFPreferencesCurrentHost", "1"},
       "k|nsglobaldomain|current|current"},
      {{"k", "app", "kCFPreferencesAnyHost", "kCFPreferencesAnyUser", "1"},
       "k|app|named kCFPreferencesAnyHost|named kCFPreferencesAnyUser"},
  };
  for (const auto& [arguments, call] : cases) {
    EXPECT_FALSE(modify(arguments));
    EXPECT_EQ(preferences.calls.back(), call);
  }
}

TEST_F(PreferenceOperations, IncompleteRequestsAndBadTextsAreInvalid) {
  for (const Array& arguments :
       {Array{"", "app", "ann", "box", "1"}, Array{"k", "", "ann", "box", "1"},
        Array{"k", "app", "", "box", "1"}, Array{"k", "app", "ann", "", "1"}}) {
    EXPECT_EQ(modify(arguments), posixError(PosixCode::invalidArgument));
  }
  const auto failure = modify({"k", "app", "ann", "box", "{ open"});
  ASSERT_TRUE(failure && isPosixError(*failure, PosixCode::invalidArgument));
  const auto* cause = failure->userInfo.at("NSUnderlyingError").error();
  ASSERT_NE(cause, nullptr);
  EXPECT_EQ(cause->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(cause->code, 3840);
  EXPECT_TRUE(preferences.calls.empty());
}

TEST_F(PreferenceOperations, WhatIsNotStoredIsCodeTen) {
  preferences.isWorking = false;
  EXPECT_EQ(modify({"k", "app", "ann", "box", ""}), preferenceSettingError());
  EXPECT_EQ(
      preferenceSettingError(),
      (Error{"com.vantor.error.privileged-operation",
             10,
             {{"NSLocalizedDescription", "A preference setting could not be updated successfully."},
              {"NSLocalizedRecoverySuggestion",
               "The operating system was unable to change a preference setting. Please "
               "ensure to authenticate as administrator."}}}));
}

}  // namespace
}  // namespace qrt
