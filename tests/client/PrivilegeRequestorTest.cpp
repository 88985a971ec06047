#include "client/PrivilegeRequestor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/FakeHelper.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::FakeHelper;
using testing::ElementsAre;

constexpr std::int32_t ownIdentifier = 42;

class PrivilegeRequestorTest : public testing::Test {
 protected:
  Result<std::unique_ptr<PrivilegeRequestor>> connect() {
    return PrivilegeRequestor::connect(helper, "/socket", ownIdentifier, operations,
                                       {.attempts = 4, .pause = std::chrono::milliseconds(1)});
  }

  FakeHelper helper;
  test::RecordingLog log;
  test::FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 operations{log, authority};
};

TEST_F(PrivilegeRequestorTest, IsRegisteredForAsLongAsItLives) {
  {
    auto requestor = connect();
    ASSERT_TRUE(requestor);
    EXPECT_EQ((*requestor)->version().value(), "1.6");
    EXPECT_EQ((*requestor)->perform("delete-foldercontents", {"/a"}), success);
    EXPECT_EQ((*requestor)->perform("nop", {}), success);
    EXPECT_EQ((*requestor)->perform("format-planet", {}), posixError(PosixCode::invalidArgument));
  }
  EXPECT_THAT(helper.calls,
              ElementsAre("connect /socket", "register 42", "version", "createExternalForm",
                          "perform 4", "perform 9998", "unregister 42"));
}

TEST_F(PrivilegeRequestorTest, TriesAgainToRegisterWithADaemonThatIsJustGoing) {
  helper.connectFailures = {FakeHelper::invalidConnection()};
  helper.registrationFailures = {FakeHelper::brokenConnection(), FakeHelper::invalidConnection()};
  EXPECT_TRUE(connect());
  EXPECT_THAT(helper.calls,
              ElementsAre("connect /socket", "connect /socket", "register 42", "connect /socket",
                          "register 42", "connect /socket", "register 42", "unregister 42"));
}

TEST_F(PrivilegeRequestorTest, GivesUpAfterAWhileAndAtOnceOnAnotherError) {
  helper.connectFailures.assign(10, FakeHelper::invalidConnection());
  EXPECT_EQ(connect().error(), FakeHelper::invalidConnection());
  EXPECT_EQ(helper.calls.size(), 4u);

  helper.calls.clear();
  helper.connectFailures = {posixError(PosixCode::tooManyFiles)};
  EXPECT_EQ(connect().error(), posixError(PosixCode::tooManyFiles));
  EXPECT_EQ(helper.calls.size(), 1u);
}

TEST_F(PrivilegeRequestorTest, NeverRepeatsARequest) {
  helper.answer = FakeHelper::brokenConnection();
  auto requestor = connect();
  helper.calls.clear();
  EXPECT_EQ((*requestor)->perform("delete-fileobjects", {"0", "0", "/a"}),
            FakeHelper::brokenConnection());
  EXPECT_THAT(helper.calls, ElementsAre("createExternalForm", "perform 3"));
}

TEST_F(PrivilegeRequestorTest, ADaemonThatRemovesItselfDoesNotReply) {
  helper.answer = FakeHelper::brokenConnection();
  auto requestor = connect();
  EXPECT_EQ((*requestor)->perform("perform-uninstall", {ownIdentifier, "/a", "/b"}), success);
  helper.answer = FakeHelper::invalidConnection();
  EXPECT_EQ((*requestor)->perform("perform-uninstall", {ownIdentifier, "/a", "/b"}),
            FakeHelper::invalidConnection());
}

TEST_F(PrivilegeRequestorTest, WithoutAnAuthorizationNothingIsPerformed) {
  helper.externalFormFailure = posixError(PosixCode::permissionDenied);
  auto requestor = connect();
  EXPECT_EQ((*requestor)->perform("nop", {}), posixError(PosixCode::permissionDenied));
  EXPECT_EQ(helper.calls.back(), "createExternalForm");
}

TEST_F(PrivilegeRequestorTest, LeavesBehindAnOperationThatGoesOnWithoutIt) {
  {
    auto requestor = connect();
    helper.whileItRuns = [&] { (*requestor)->interrupt(); };
    EXPECT_EQ((*requestor)->perform("nop", {}), posixError(PosixCode::interrupted));
    EXPECT_TRUE((*requestor)->wasInterrupted());
    // Whoever was interrupted starts nothing more.
    EXPECT_EQ((*requestor)->perform("nop", {}), posixError(PosixCode::interrupted));
  }
  EXPECT_THAT(helper.calls, ElementsAre("connect /socket", "register 42", "createExternalForm",
                                        "perform 9998", "unregister later 42"));
}

}  // namespace
}  // namespace qrt
