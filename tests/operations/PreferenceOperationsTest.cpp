#include "operations/PreferenceOperations.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "platform/Preferences.h"
#include "support/ScratchFolder.h"

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

TEST_F(PreferenceOperations, TheTextIsAPropertyListAndEmptyTextRemoves) {
  const std::pair<const char*, std::optional<PropertyValue>> cases[] = {
      {"", std::nullopt},
      {"plain", "plain"},
      {"(1, {a = b;})", Array{"1", Dictionary{{"a", "b"}}}},
      {"<plist><integer>5</integer></plist>", 5},
  };
  for (const auto& [text, value] : cases) {
    EXPECT_FALSE(modify({"k", "app", "ann", "box", text}));
    EXPECT_EQ(preferences.lastValue, value) << text;
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

TEST_F(PreferenceOperations, AMebibyteOfHostileTextIsRefusedAtOnce) {
  constexpr std::size_t mebibyte = 1 << 20;
  std::string xml = "<plist>";
  while (xml.size() < mebibyte) xml += "<array>";
  std::string entities = "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">";
  for (char c = 'b'; c <= 'z'; ++c) {
    entities += std::string("<!ENTITY ") + c + " \"";
    for (int i = 0; i < 10; ++i) entities += std::string("&") + static_cast<char>(c - 1) + ";";
    entities += "\">";
  }
  entities += "]><plist><string>&z;</string></plist>";
  entities.resize(mebibyte, ' ');
  const std::string texts[] = {std::string(mebibyte, '('),
                               std::string(mebibyte, '{'),
                               xml,
                               entities,
                               "<plist><string>&#0;</string></plist>",
                               "bplist00" + std::string(mebibyte, '\x01')};
  for (const auto& text : texts) {
    const auto start = std::chrono::steady_clock::now();
    const auto failure = modify({"k", "app", "ann", "box", text});
    const auto time = std::chrono::steady_clock::now() - start;
    ASSERT_TRUE(failure && isPosixError(*failure, PosixCode::invalidArgument))
        << text.substr(0, 20);
    EXPECT_TRUE(failure->userInfo.contains("NSUnderlyingError"));
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(time, std::chrono::milliseconds(100)) << text.substr(0, 20);
#else
    (void)time;
#endif
  }
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
