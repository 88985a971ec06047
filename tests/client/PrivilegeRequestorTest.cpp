#include "client/PrivilegeRequestor.h"

#include "ClientFixture.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"

namespace qrt {
namespace {

using test::FakeHelper;
using testing::ElementsAre;

class PrivilegeRequestorTest : public test::ClientFixture {
 protected:
  Result<std::unique_ptr<PrivilegeRequestor>> connect() {
    return PrivilegeRequestor::connect(platform, "/socket", 42, operations_,
                                       {.attempts = 4, .pause = std::chrono::milliseconds(1)});
  }

  const Error isGoing_ = FakeHelper::brokenConnection(), isGone_ = FakeHelper::invalidConnection();

 private:
  const QRTPrivilegedOperationSetVK2 operations_{log, authority};
};

TEST_F(PrivilegeRequestorTest, TriesAgainForAWhileWithADaemonThatIsJustGoing) {
  helper.connectFailures = {isGone_};
  helper.registrationFailures = {isGoing_, isGone_};
  EXPECT_TRUE(connect());
  EXPECT_THAT(helper.calls,
              ElementsAre("connect /socket", "connect /socket", "register 42", "connect /socket",
                          "register 42", "connect /socket", "register 42", "unregister 42"));

  helper.calls.clear();
  helper.connectFailures.assign(10, isGone_);
  EXPECT_EQ(connect().error(), isGone_);
  EXPECT_EQ(helper.calls.size(), 4u);

  helper.calls.clear();
  helper.connectFailures = {posixError(PosixCode::tooManyFiles)};
  EXPECT_EQ(connect().error(), posixError(PosixCode::tooManyFiles));
  EXPECT_EQ(helper.calls.size(), 1u);
}

TEST_F(PrivilegeRequestorTest, NeverRepeatsARequest) {
  // A daemon that removes itself does not reply; one that was ended before leaves its files behind.
  const Array gone{42, "/none/program", "/none/job"}, there{42, "/none/program", "/"};
  const std::tuple<std::string, Array, Error, Outcome> cases[] = {
      {"delete-fileobjects", gone, isGoing_, isGoing_},
      {"perform-uninstall", gone, isGoing_, success},
      {"perform-uninstall", there, isGoing_, isGoing_},
      {"perform-uninstall", gone, isGone_, isGone_}};
  for (const auto& [operation, arguments, answer, outcome] : cases) {
    const auto requestor = connect();
    helper.calls.clear();
    helper.answer = answer;
    EXPECT_EQ((*requestor)->perform(operation, arguments), outcome);
    EXPECT_THAT(helper.calls, ElementsAre("createExternalForm", testing::StartsWith("perform ")));
  }
}

TEST_F(PrivilegeRequestorTest, PerformsOnlyWhatThereIsAndWithAnAuthorization) {
  auto requestor = connect();
  EXPECT_EQ((*requestor)->perform("format-planet", {}), posixError(PosixCode::invalidArgument));
  helper.externalForm = posixError(PosixCode::permissionDenied);
  EXPECT_EQ((*requestor)->perform("nop", {}), posixError(PosixCode::permissionDenied));
  EXPECT_EQ(helper.calls.back(), "createExternalForm");
}

TEST_F(PrivilegeRequestorTest, LeavesBehindAnOperationThatGoesOnWithoutIt) {
  {
    auto requestor = connect();
    helper.whileItRuns = [&] { (*requestor)->interrupt(); };
    EXPECT_EQ((*requestor)->perform("nop", {}), posixError(PosixCode::interrupted));
    // Whoever was interrupted starts nothing more.
    EXPECT_EQ((*requestor)->perform("nop", {}), posixError(PosixCode::interrupted));
  }
  EXPECT_THAT(helper.calls, ElementsAre("connect /socket", "register 42", "createExternalForm",
                                        "perform 9998", "unregister later 42"));
}

}  // namespace
}  // namespace qrt
