#include <Security/Security.h>
#include <gtest/gtest.h>

#include "platform/Authority.h"
#include "platform/CodeSigning.h"
#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFacilities.h"
#include "platform/macos/xpc/OwnAuthorization.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

TEST(MacosCodeSigning, InformationIsCopied) {
  const auto signing = makeCodeSigning();
  EXPECT_FALSE(signing->staticCode("/app"));
  const CFOwner<CFMutableDictionaryRef> information(CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  fakeCode.information = information.get();
  EXPECT_FALSE(signing->staticCode("/app")->signingInformation());
  const auto certificate = cfData({'a', 'b', 'c'});
  const void* objects[] = {certificate.get(), kCFNull};
  const CFOwner<CFArrayRef> chain(CFArrayCreate(nullptr, objects, 2, &kCFTypeArrayCallBacks));
  CFDictionarySetValue(information.get(), kSecCodeInfoIdentifier, CFSTR("com.vantor.app"));
  CFDictionarySetValue(information.get(), kSecCodeInfoCertificates, chain.get());
  const auto copy = signing->staticCode("/app")->signingInformation();
  ASSERT_TRUE(copy && copy->certificates.size() == 1);
  EXPECT_EQ(copy->identifier, "com.vantor.app");
  EXPECT_EQ(copy->certificates[0].commonName, "abc");
  EXPECT_EQ(copy->certificates[0].digest[0], 0xA9) << "SHA-1 of abc";
  EXPECT_EQ(signing->staticCode("/app")->checkValidity(), success);
  fakeCode.validity = errSecCSUnsigned;
  EXPECT_EQ(codeOf(signing->staticCode("/app")->checkValidity()), errSecCSUnsigned);
}

TEST(MacosAuthority, EveryReferenceIsFreed) {
  const auto authority = makeAuthority();
  test::RecordingLog log;
  {
    OwnAuthorization own;
    const auto data = own.externalForm();
    AuthorizationExternalForm form{};
    std::copy(data->begin(), data->end(), form.begin());
    const auto authorization = authority->createFromExternalForm({}, form, log);
    ASSERT_TRUE(authorization);
    EXPECT_EQ((*authorization)->copyRight("right", {0, nullptr}, 0), AuthorizationStatus::denied);
    form.fill(0);
    EXPECT_FALSE(authority->createFromExternalForm({}, form, log));
    EXPECT_EQ(fakeAuthorizations.freedWith, authorization_flag::destroyRights);
    EXPECT_EQ(fakeAuthorizations.references, 2);
  }
  EXPECT_EQ(fakeAuthorizations.references, 0);
  const auto fresh = authority->create();
  EXPECT_EQ(authority->rightSet(**fresh, "r", "\xFF", "d", "t"),
            AuthorizationStatus::invalidPointer);
}

}  // namespace
}  // namespace qrt
