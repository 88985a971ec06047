#include "system/PreferenceOperations.h"

#include <gtest/gtest.h>

#include "platform/NativePlatform.h"
#include "platform/Preferences.h"
#include "support/PlatformDouble.h"

namespace qrt {
namespace {

/// Preferences that remember the last value that they were asked to set.
struct RecordingPreferences : Preferences {
  bool isWorking = true;
  std::string call;

  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override {
    call = key + "|" + domain.application.value_or("every") + "|" + text(domain.user) + "|" +
           text(domain.host) + "|" + (value ? *value->string() : "nothing");
    return isWorking;
  }
  static std::string text(const PreferenceSelector& selector) {
    using enum PreferenceSelector::Kind;
    if (selector.kind == named) return "named " + selector.name;
    return selector.kind == any ? "any" : "current";
  }
};

TEST(PreferenceOperations, SetTheNamedDomainOrReturnTheReason) {
  RecordingPreferences preferences;
  const NativePlatform native;
  const auto platform = test::platformWith({.preferences = &preferences}, native.facilities());
  const auto modify = [&](const Array& arguments) {
    return performOperationModifyPreferencesWithArguments(platform, arguments, nullptr);
  };
  const std::pair<Array, const char*> cases[] = {
      {{"k", "NSGlobalDomain", "kCFPreferencesAnyUser", "kCFPreferencesAnyHost", "1"},
       "k|every|any|any|1"},
      {{"k", "kCFPreferencesAnyApplication", "ann", "box", "1"}, "k|every|named ann|named box|1"},
      {{"k", "nsglobaldomain", "kCFPreferencesCurrentUser", "kCFPreferencesCurrentHost", ""},
       "k|nsglobaldomain|current|current|nothing"},
  };
  for (const auto& [arguments, call] : cases) {
    EXPECT_FALSE(modify(arguments));
    EXPECT_EQ(preferences.call, call);
  }

  preferences.call.clear();
  for (std::size_t missing = 0; missing < 4; ++missing) {
    Array arguments{"k", "app", "ann", "box", "1"};
    arguments[missing] = "";
    EXPECT_EQ(modify(arguments), posixError(PosixCode::invalidArgument));
  }
  const auto failure = modify({"k", "app", "ann", "box", "{ open"});
  ASSERT_TRUE(failure && isPosixError(*failure, PosixCode::invalidArgument));
  EXPECT_EQ(failure->userInfo.at("NSUnderlyingError").error()->code, 3840);
  EXPECT_EQ(preferences.call, "");

  preferences.isWorking = false;
  EXPECT_EQ(codeOf(modify({"k", "app", "ann", "box", ""})), 10);
}

}  // namespace
}  // namespace qrt
