// The client library against a double of the daemon.
#include "client/PrivilegeRequestor.h"

#include "ClientFixture.h"
#include "client/CallSender.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"

namespace qrt {
namespace {

using testing::ElementsAre;

class PrivilegeRequestorTest : public test::ClientFixture {
 protected:
  Result<std::unique_ptr<Requestor>> connect() {
    helper.calls.clear();
    return Requestor::connect(platform, "/socket", 42, operations_,
                              {.attempts = 3, .pause = std::chrono::milliseconds(1)});
  }

  const Error broken_ = test::FakeHelper::brokenConnection();
  const Error invalid_ = test::FakeHelper::invalidConnection();

 private:
  const QRTPrivilegedOperationSetVK2 operations_{log, authority};
};

TEST_F(PrivilegeRequestorTest, ConnectsAgainOnlyAfterAConnectionFailure) {
  helper.connectFailures = {invalid_};
  helper.registrationFailures = {broken_};
  EXPECT_TRUE(connect());
  EXPECT_THAT(helper.calls, ElementsAre("connect /socket", "connect /socket", "register 42",
                                        "connect /socket", "register 42", "unregister 42"));
  helper.connectFailures.assign(10, invalid_);
  EXPECT_EQ(connect().error(), invalid_);
  EXPECT_EQ(helper.calls.size(), 3u);
  helper.connectFailures = {posixError(PosixCode::tooManyFiles)};
  EXPECT_EQ(connect().error(), posixError(PosixCode::tooManyFiles));
  EXPECT_EQ(helper.calls.size(), 1u);
}

TEST_F(PrivilegeRequestorTest, SendsARequestOnce) {
  // After a successful removal of itself the daemon ends without a reply, and its files are gone.
  const Array gone{42, "/none/program", "/none/job"}, left{42, "/none/program", "/"};
  const std::tuple<std::string, Array, Error, Outcome> cases[] = {
      {"delete-fileobjects", gone, broken_, broken_},
      {"perform-uninstall", gone, broken_, success},
      {"perform-uninstall", left, broken_, broken_},
      {"perform-uninstall", gone, invalid_, invalid_}};
  for (const auto& [operation, arguments, answer, outcome] : cases) {
    const auto requestor = connect();
    helper.answer = answer;
    EXPECT_EQ((*requestor)->perform(operation, arguments), outcome);
    EXPECT_THAT(helper.calls, ElementsAre("connect /socket", "register 42", "createExternalForm",
                                          testing::StartsWith("perform ")));
  }
}

TEST_F(PrivilegeRequestorTest, SendsNothingWithoutACodeOrAnAuthorizationOrAfterAnInterruption) {
  {
    const auto requestor = std::move(connect()).value();
    EXPECT_EQ(requestor->perform("format-planet", {}), posixError(PosixCode::invalidArgument));
    helper.externalForm = posixError(PosixCode::permissionDenied);
    EXPECT_EQ(requestor->perform("nop", {}), posixError(PosixCode::permissionDenied));
    helper.externalForm = Data(32, 0xAB);
    helper.whileItRuns = [&] { requestor->interrupt(); };
    EXPECT_EQ(requestor->perform("nop", {}), posixError(PosixCode::interrupted));
    EXPECT_EQ(requestor->perform("nop", {}), posixError(PosixCode::interrupted));
  }
  EXPECT_THAT(helper.calls,
              ElementsAre("connect /socket", "register 42", "createExternalForm",
                          "createExternalForm", "perform 9998", "unregister later 42"));
}

TEST_F(PrivilegeRequestorTest, TypedCallsSendTheValuesOfTheCatalogueAndReturnAnswers) {
  PrivilegeRequestor requestor(std::make_unique<CallSender>(std::move(*connect()), ""));
  std::vector<OperationFeedback> messages;
  helper.feedback = {{{"ProgressFraction", 0.5}},
                     {{"FileObjectInfo", Array{Dictionary{{"Path", "/x"}, {"Size", 7}}}}}};
  EXPECT_EQ(requestor.deleteFileobjects({.paths = {"/a", "", "/b/"}, .recursive = true},
                                        [&](const auto& one) { messages.push_back(one); }),
            success);
  EXPECT_THAT(helper.arguments, ElementsAre("1", "0", "/a", "", "/b/"));
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0].fraction, 0.5);
  EXPECT_EQ(messages[1].objects.at(0).path, "/x");
  EXPECT_EQ(messages[1].objects.at(0).size, 7u);

  using enum PropPermissionsCopy;
  EXPECT_EQ(requestor.propPermissions({.folder = "/", .copy = {acl, owner, acl}}), success);
  EXPECT_THAT(helper.arguments, ElementsAre("/", 0, false, 9));
  EXPECT_EQ(requestor.searchPatterns({.folder = "/", .names = {"a"}, .extensions = {"b"}}),
            success);
  EXPECT_THAT(helper.arguments, ElementsAre("/", "0", "0", "a", "2", "b"));
  EXPECT_EQ(requestor.createFileobject({.path = "relative", .kind = CreateFileobjectKind::folder}),
            posixError(PosixCode::noEntry));

  helper.answer = Error{"com.vantor.error.privileged-operation", 0, {{"Size", 5}}};
  EXPECT_EQ(*requestor.inspectStoragesize({.folder = "/"}), 5);
  helper.answer = posixError(PosixCode::noEntry);
  EXPECT_EQ(requestor.inspectStoragesize({.folder = "/"}).error(), *helper.answer);
}

}  // namespace
}  // namespace qrt
