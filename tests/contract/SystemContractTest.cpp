#include "contract/ContractTest.h"
#include "platform/ApplicationRegistry.h"
#include "platform/Authority.h"
#include "platform/CodeSigning.h"

namespace qrt {
namespace {

using SystemContract = test::ContractTest;

TEST_F(SystemContract, RightsAreSetAndRemoved) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  auto& authority = sealedPlatform().authority;
  const auto name = test::uniqueName();
  EXPECT_EQ(authority.rightGet(name), AuthorizationStatus::denied);
  const auto authorization = authority.create();
  ASSERT_TRUE(authorization);
  const Dictionary definition{{"rule", "allow"}};
  EXPECT_EQ(authority.rightSet(**authorization, name, definition, "description", "table"),
            AuthorizationStatus::noError);
  EXPECT_EQ(authority.rightGet(name), AuthorizationStatus::noError);
  EXPECT_EQ(authority.rightRemove(**authorization, name), AuthorizationStatus::noError);
  EXPECT_EQ(authority.rightGet(name), AuthorizationStatus::denied);
  EXPECT_FALSE(authority.createFromExternalForm({}, {}, platform().log));
}

TEST_F(SystemContract, ApplicationsAreFoundWhereTheyAreRegistered) {
  auto& applications = platform().applications;
  EXPECT_TRUE(applications.applicationURLs(test::uniqueName()).empty());
  EXPECT_FALSE(applications.dateLastUsed(scratch_.path("none")));
  EXPECT_FALSE(applications.systemBundle(scratch_.path("none")));
  for (const auto& url : applications.applicationURLs("com.apple.finder")) {
    EXPECT_EQ(url.scheme, "file");
    EXPECT_TRUE(applications.systemBundle(url.path)) << url.path;
  }
}

TEST_F(SystemContract, CodeIsSignedOrNot) {
  auto& signing = platform().codeSigning;
  EXPECT_FALSE(signing.staticCode(scratch_.path("none")));
  const auto unsignedCode = signing.staticCode(scratch_.file("script", "#!/bin/sh\n"));
  ASSERT_TRUE(unsignedCode);
  EXPECT_FALSE(unsignedCode->signingInformation());
  EXPECT_EQ(codeOf(unsignedCode->checkValidity()), code_signing_status::notSigned);
  const auto finder = signing.staticCode("/System/Library/CoreServices/Finder.app");
  if (!finder) return;  // The system has no signed programs of its own.
  const auto information = finder->signingInformation();
  ASSERT_TRUE(information && !information->certificates.empty());
  EXPECT_EQ(information->identifier, "com.apple.finder");
  EXPECT_EQ(information->certificates.back().commonName, "Apple Root CA");
  EXPECT_EQ(finder->checkValidity(), success);
}

}  // namespace
}  // namespace qrt
