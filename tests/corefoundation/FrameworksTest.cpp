#include <CoreServices/CoreServices.h>
#include <Security/Security.h>
#include <SystemConfiguration/SystemConfiguration.h>
#include <gmock/gmock.h>

#include "platform/ApplicationRegistry.h"
#include "platform/Authority.h"
#include "platform/CodeSigning.h"
#include "platform/Preferences.h"
#include "platform/SystemConfiguration.h"
#include "platform/UserDirectory.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"
#include "platform/macos/OwnAuthorization.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Objects = std::vector<CFTypeRef>;

CFOwner<CFArrayRef> arrayOf(Objects objects) {
  return CFOwner<CFArrayRef>(CFArrayCreate(
      nullptr, objects.data(), static_cast<CFIndex>(objects.size()), &kCFTypeArrayCallBacks));
}

TEST(MacosSystemConfiguration, ChangesReachThePreferences) {
  const auto configuration = makeSystemConfiguration();
  EXPECT_FALSE(configuration->open("client", ""));
  EXPECT_FALSE(configuration->open("\xFF", ""));
  const CFOwner<CFMutableDictionaryRef> values(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  fakeConfiguration.values = values.get();
  EXPECT_FALSE(configuration->open("client", "another file"));
  const auto session = configuration->open("client", "");
  ASSERT_TRUE(session && session->lock());
  EXPECT_TRUE(session->setValue("key", Array{1, "a"}));
  EXPECT_EQ(valueFrom(values.get()), PropertyValue(Dictionary{{"key", Array{1, "a"}}}));
  EXPECT_FALSE(session->setValue("key", "\xFF"));
  EXPECT_TRUE(session->removeValue("key"));
  EXPECT_FALSE(session->removeValue("key"));
  EXPECT_FALSE(session->networkService("none"));
  const auto service = session->networkService("service");
  ASSERT_TRUE(service && service->supportsIPv6());
  EXPECT_TRUE(service->setIPv6Enabled(true) && service->setIPv6Enabled(false));
  EXPECT_TRUE(session->applyChanges() && session->commitChanges());
  session->unlock();
  EXPECT_EQ(fakeConfiguration.calls, "l10acu");
  fakeConfiguration.hasIPv6 = false;
  const auto withoutIPv6 = session->networkService("service");
  EXPECT_FALSE(withoutIPv6->supportsIPv6() || withoutIPv6->setIPv6Enabled(true));
}

TEST(MacosPreferences, ValuesAreSetReplacedAndRemoved) {
  const test::ScratchFolder home;
  setenv("CFFIXED_USER_HOME", home.path().c_str(), 1);
  using Kind = PreferenceSelector::Kind;
  const auto preferences = makePreferences();
  const PreferenceDomain domain{"com.vantor.test", {Kind::current}, {Kind::any}};
  const auto kept = [] {
    const CFOwner<CFTypeRef> value(CFPreferencesCopyValue(
        CFSTR("key"), CFSTR("com.vantor.test"), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    return valueFrom(value.get());
  };
  for (const auto& value : std::vector<std::optional<PropertyValue>>{
           PropertyValue("text"), PropertyValue(Dictionary{{"inner", true}}), std::nullopt}) {
    EXPECT_TRUE(preferences->setValue(domain, "key", value));
    EXPECT_EQ(kept(), value);
  }
  EXPECT_FALSE(preferences->setValue(domain, "key", "\xFF"));
  EXPECT_FALSE(preferences->setValue({"\xFF", {Kind::any}, {Kind::named, "h"}}, "key", 1));
}

TEST(MacosApplicationRegistry, ApplicationsBundlesAndDates) {
  const auto registry = makeApplicationRegistry();
  EXPECT_TRUE(registry->applicationURLs("com.vantor.app").empty());
  const auto file = cfFileURL("/Applications/A.app", true);
  const CFOwner<CFURLRef> other(CFURLCreateWithString(nullptr, CFSTR("http://h/x"), nullptr));
  const auto urls = arrayOf({file.get(), kCFNull, other.get()});
  fakeServices.applications = urls.get();
  const auto found = registry->applicationURLs("com.vantor.app");
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].scheme + found[0].path, "file/Applications/A.app");
  EXPECT_EQ(found[1].scheme + found[1].path, "http");
  EXPECT_TRUE(registry->applicationURLs("\xFF").empty());

  EXPECT_FALSE(registry->dateLastUsed("/some"));
  const CFOwner<CFDateRef> date(CFDateCreate(nullptr, -kCFAbsoluteTimeIntervalSince1970 + 5));
  fakeServices.lastUsed = date.get();
  EXPECT_EQ(registry->dateLastUsed("/some"), Date{5});
  EXPECT_FALSE(registry->dateLastUsed("/none"));
  fakeServices.lastUsed = kCFNull;
  EXPECT_FALSE(registry->dateLastUsed("/some"));

  const test::ScratchFolder scratch;
  EXPECT_TRUE(registry->systemBundle(scratch.path()));
  EXPECT_FALSE(registry->systemBundle(scratch.path("none")));
}

TEST(MacosUserDirectory, TheAuthoritysUsersJoinThoseOfTheDatabase) {
  EXPECT_EQ(makeUserDirectory()->listedUserIDs().count(4242), 0u);
  const auto number = cfValue(4242);
  const auto identities = arrayOf({number.get(), kCFNull});
  fakeServices.identities = identities.get();
  const auto ids = makeUserDirectory()->listedUserIDs();
  EXPECT_EQ(ids.count(4242) + ids.count(0), 2u);
}

TEST(MacosCodeSigning, InformationAndComplaintsAreCopied) {
  const auto signing = makeCodeSigning();
  EXPECT_FALSE(signing->staticCode("/app"));
  const CFOwner<CFMutableDictionaryRef> information(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  fakeCode.information = information.get();
  EXPECT_FALSE(signing->staticCode("/app")->signingInformation());
  const auto certificate = cfData({'a', 'b', 'c'});
  const auto chain = arrayOf({certificate.get(), kCFNull});
  CFDictionarySetValue(information.get(), kSecCodeInfoIdentifier, CFSTR("com.vantor.app"));
  CFDictionarySetValue(information.get(), kSecCodeInfoCertificates, chain.get());
  const auto copy = signing->staticCode("/app")->signingInformation();
  ASSERT_TRUE(copy && copy->certificates.size() == 1);
  EXPECT_EQ(copy->identifier, "com.vantor.app");
  EXPECT_EQ(copy->teamIdentifier, std::nullopt);
  EXPECT_EQ(copy->certificates[0].commonName, "abc");
  // SHA-1 of "abc".
  EXPECT_THAT(
      std::vector(copy->certificates[0].digest.begin(), copy->certificates[0].digest.begin() + 4),
      testing::ElementsAre(0xA9, 0x99, 0x3E, 0x36));

  EXPECT_EQ(signing->staticCode("/app")->checkValidity(), success);
  fakeCode.validity = errSecCSUnsigned;
  EXPECT_EQ(signing->staticCode("/app")->checkValidity(), osStatusError(errSecCSUnsigned));
  const auto file = cfFileURL("/app/file", false);
  const auto files = arrayOf({file.get(), kCFNull});
  const void* keys[] = {CFSTR("SecCSResourceAdded"), CFSTR("other")};
  const void* values[] = {files.get(), file.get()};
  const CFOwner<CFErrorRef> error(CFErrorCreateWithUserInfoKeysAndValues(
      nullptr, CFSTR("domain"), errSecCSUnsigned, keys, values, 2));
  fakeCode.error = error.get();
  const auto failure = signing->staticCode("/app")->checkValidity();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, errSecCSUnsigned);
  EXPECT_EQ(failure->userInfo.at("other"), PropertyValue("/app/file"));
  EXPECT_EQ((*failure->userInfo.at("SecCSResourceAdded").array())[0], PropertyValue("/app/file"));
}

TEST(MacosAuthority, ReferencesAndRightsAreTheSystems) {
  const auto authority = makeAuthority();
  test::RecordingLog log;
  {
    OwnAuthorization own;
    const auto data = own.externalForm();
    AuthorizationExternalForm form{};
    std::copy(data->begin(), data->end(), form.begin());
    const auto authorization = authority->createFromExternalForm({}, form, log);
    ASSERT_TRUE(authorization);
    char value[] = "why";
    AuthorizationItem item{"prompt", 3, value, 0};
    EXPECT_EQ((*authorization)->copyRight("right", {1, &item}, 0), AuthorizationStatus::denied);
    EXPECT_EQ(fakeAuthorizations.asked, "right prompt=why");
    form.fill(0);
    EXPECT_FALSE(authority->createFromExternalForm({}, form, log));
    EXPECT_EQ(fakeAuthorizations.freedWith, authorization_flag::destroyRights);
    EXPECT_EQ(fakeAuthorizations.references, 2);
  }
  EXPECT_EQ(fakeAuthorizations.references, 0);
  const auto fresh = authority->create();
  const Dictionary rule{{"rule", "allow"}};
  EXPECT_EQ(authority->rightGet("r"), AuthorizationStatus::denied);
  EXPECT_EQ(authority->rightSet(**fresh, "r", rule, "d", "t"), AuthorizationStatus::noError);
  EXPECT_EQ(authority->rightSet(**fresh, "r", "\xFF", "d", "t"),
            AuthorizationStatus::invalidPointer);
  EXPECT_EQ(authority->rightGet("r"), AuthorizationStatus::noError);
  EXPECT_EQ(authority->rightRemove(**fresh, "r"), AuthorizationStatus::noError);
  EXPECT_EQ(authority->rightGet("r"), AuthorizationStatus::denied);
}

}  // namespace
}  // namespace qrt
