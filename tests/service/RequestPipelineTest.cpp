#include "service/RequestPipeline.h"

#include <gmock/gmock.h>

#include "ServiceDoubles.h"
#include "operations/OperationCatalogue.h"
#include "operations/OperationException.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "protocol/FeedbackMessage.h"
#include "service/AuthorizationCheck.h"
#include "support/FakeFeedback.h"

namespace qrt {
namespace {

using test::FakeAuthority;
using test::RecordingLog;
using testing::IsSupersetOf;
using enum AuthorizationStatus;

constexpr std::uint64_t nop = 9998, deleteFileobjects = 3, inspectFileobject = 5,
                        signalProcess = 19, executeUtility = 22, oddLetters = 70, noText = 71;

const QRTPrivilegedOperationStaticDescription badCatalogue[] = {
    {oddLetters, "odd-letters", 1, {}, 1, "X", "Contradicts itself."},
    {noText, "no-text-\xff", 0, {}, 0, nullptr, "Has no text."},
    {endOfCatalogue, nullptr, 0, {}, 0, nullptr, nullptr}};

class RequestPipelineTest : public testing::Test {
 protected:
  test::ServicePlatform doubles_;
  RecordingLog& log_ = doubles_.log;
  FakeAuthority& authority_ = doubles_.authority;
  QRTPrivilegedOperationSetVK2 operations_{log_, authority_};
  const QRTPrivilegedOperationSetVK2 badOperations_{log_, authority_, badCatalogue};
  LogAllowance allowance_;
  const Caller caller_{.userID = 1000};
  test::FakeFeedback feedback_;
  std::optional<Array> performed_;

  void handle(const char* name, Handler handler) {
    operations_.handlers().add("performOperation" + std::string(name), handler);
  }
  Handler returning(Outcome outcome) {
    return [=, this](const Platform& platform, const Array& arguments,
                     FeedbackConnection* connection) {
      performed_ = arguments;
      platform.log.info("A line of the handler.");
      if (connection) connection->processPrivilegedOperationFeedback(progressMessage(0.5));
      return outcome;
    };
  }

  Outcome perform(std::uint64_t code, Array arguments, FeedbackEndpoint* endpoint = nullptr) {
    DecodedArguments received(std::move(arguments));
    return performReceived(code, &received, endpoint);
  }
  Outcome performReceived(std::uint64_t code, RequestArguments* received,
                          FeedbackEndpoint* endpoint = nullptr) {
    const auto nothing = [](const Platform&, const Array&, FeedbackConnection*) {
      return Outcome();
    };
    const RequestPipeline pipeline(
        code == oddLetters || code == noText ? badOperations_ : operations_, doubles_.platform,
        allowance_, {{nop, nothing}, {operation_code::discardAuth, nothing}});
    return pipeline.performPrivilegedOperation(caller_, code, Data(32, 7), endpoint, received);
  }
};

TEST_F(RequestPipelineTest, TakesItsStepsInOrder) {
  handle("DeleteFileobjectsWithArguments:feedbackConnection:",
         returning(posixError(PosixCode::notEmpty)));
  const Dictionary metadata{{"QRTAuthorizationPrompt", "May I?"}, {"QRTAuthorizationIcon", 5}};
  const Array arguments{"!QRTMETA!", metadata, "/tmp"};
  EXPECT_EQ(codeOf(perform(deleteFileobjects, arguments, &feedback_)), 66);
  EXPECT_EQ(performed_, Array{"/tmp"});
  EXPECT_THAT(
      log_.texts(),
      testing::ElementsAre(
          "About to perform privileged operation 'delete-fileobjects' with 3 arguments.",
          "Actual number of arguments is 1. 2 additional metadata entries have been transferred.",
          "About to configure feedback protocol.",
          "About to open return connection for feedback (progress option 1).",
          "Operation delete-fileobjects will be executed with feedback option enabled.",
          "A line of the handler.", "Sending final feedback message.",
          testing::MatchesRegex("Suspending feedback connection 0x[0-9a-f]+."),
          "Operation delete-fileobjects was completed with return code 66."));
  const auto& calls = authority_.calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[1].rightName, "com.vantor.vk2.delete-fileobjects");
  EXPECT_EQ(calls[1].environment,
            (std::vector<FakeAuthority::Item>{{"prompt", std::string("May I?\0", 7)}}));
  EXPECT_EQ(feedback_.messages,
            (std::vector<Dictionary>{progressMessage(0.0), progressMessage(0.5), finalMessage()}));
  EXPECT_TRUE(feedback_.suspended);
  EXPECT_EQ(feedback_.interface, operations_.interfaceForFeedbackProtocol());
}

TEST_F(RequestPipelineTest, FeedbackDependsOnTheOperationAndItsConnection) {
  EXPECT_EQ(perform(nop, {}, &feedback_), success);
  EXPECT_TRUE(feedback_.messages.empty());
  handle("ExecuteUtilityWithArguments:feedbackConnection:", returning(success));
  EXPECT_EQ(perform(executeUtility, {}, &feedback_), success);
  EXPECT_EQ(feedback_.messages.front(), initialOutputMessage());

  performed_.reset();
  feedback_.refusal = Error{"NSCocoaErrorDomain", 4099, {{"NSLocalizedDescription", "Gone."}}};
  EXPECT_EQ(perform(executeUtility, {}, &feedback_), *feedback_.refusal);
  EXPECT_FALSE(performed_);
  EXPECT_THAT(log_.texts().back(),
              testing::EndsWith("no return connection could be opened (Gone.)."));
}

TEST_F(RequestPipelineTest, RefusesArgumentsThatDoNotFitTheCatalogue) {
  const std::tuple<std::uint64_t, Array, std::string> cases[] = {
      {12345, {}, "Received invalid operation with code 12345, 0 arguments."},
      {inspectFileobject,
       {"!QRTMETA!", "no dictionary", "/tmp"},
       "Operation inspect-fileobject was rejected because an invalid number of arguments was "
       "specified (1 expected, 3 sent)."},
      {signalProcess, {1, "9"}, "argument 1 has class NSString (expected type 'N')."},
      {inspectFileobject, {Data{1}}, "argument 0 has class NSData (expected type 'S')."},
      {deleteFileobjects,
       {"1", "0", Date{}},
       "at least one argument has class NSDate (string expected)."},
      {oddLetters,
       {"a"},
       "a contradiction in its definition has been detected (invalid type code 'X')."}};
  for (const auto& [code, arguments, line] : cases) {
    EXPECT_EQ(perform(code, arguments, &feedback_), posixError(PosixCode::invalidArgument));
    EXPECT_THAT(log_.texts().back(), testing::EndsWith(line));
  }
  DecodedArguments unreadable(std::nullopt, 7);
  EXPECT_EQ(codeOf(performReceived(inspectFileobject, &unreadable)), 22);
  EXPECT_EQ(log_.texts().back(), "Received invalid operation with code 5, 7 arguments.");
  EXPECT_EQ(codeOf(performReceived(inspectFileobject, nullptr)), 22);
  EXPECT_TRUE(feedback_.messages.empty());
}

TEST_F(RequestPipelineTest, AuthorizesBeforeItLooksAtTheArguments) {
  const std::pair<AuthorizationStatus, Error> cases[] = {
      {noError, posixError(PosixCode::invalidArgument)},
      {canceled, posixError(PosixCode::canceled)},
      {denied, posixError(PosixCode::notPermitted)},
      {interactionNotAllowed, osStatusError(-60007)}};
  for (const auto& [status, error] : cases) {
    authority_.copyRightStatus = status;
    EXPECT_EQ(perform(signalProcess, {"wrong"}), error);
    EXPECT_EQ(authority_.calls().back().function, "free");
  }
  EXPECT_EQ(codeOf(perform(noText, {})), number(invalidPointer));
  authority_.createFromExternalFormStatus = internalizeNotAllowed;
  EXPECT_EQ(codeOf(perform(nop, {})), 87654321);
  EXPECT_THAT(log_.texts(),
              IsSupersetOf({"Operation could not be authorized, rejected with error code 1.",
                            "Privileged helper received failure status -60007 during an attempt "
                            "to interactively extend rights.",
                            "OS failure detected: valid authorization (07, 07, 07, 07, ...) not "
                            "internalized, got ref 0x0 with error -60010."}));
  const AuthorizationCheck check(operations_, authority_, log_);
  EXPECT_EQ(codeOf(check.checkAuthorization({}, Data(31), nop, "", "", false)), 22);
}

TEST_F(RequestPipelineTest, OnlyDiscardingDestroysTheSharedRights) {
  for (const auto& [code, flags] : {std::pair{nop, 0u}, {operation_code::discardAuth, 8u}}) {
    EXPECT_EQ(perform(code, {}), success);
    const auto calls = authority_.takeCalls();
    EXPECT_EQ(calls[1].flags, 3u);
    EXPECT_EQ(calls.back(), (FakeAuthority::Call{"free", {}, flags}));
  }
}

TEST_F(RequestPipelineTest, ExceptionsAndMissingHandlersAreErrors) {
  const auto name = "DeleteFileobjectsWithArguments:feedbackConnection:";
  handle(name, [](const Platform&, const Array&, FeedbackConnection*) -> Outcome {
    throw OperationException("NSInvalidArgumentException", "Couldn't posix_spawn: error 13");
  });
  EXPECT_EQ(perform(deleteFileobjects, {}), posixError(PosixCode::interrupted));
  handle(name, [](const Platform&, const Array&, FeedbackConnection*) -> Outcome { throw 42; });
  EXPECT_EQ(perform(deleteFileobjects, {}, &feedback_), posixError(PosixCode::interrupted));
  EXPECT_EQ(feedback_.messages.back(), finalMessage());
  // This operation has no feedback.
  handle("SignalProcessWithArguments:feedbackConnection:", returning(success));
  EXPECT_EQ(perform(signalProcess, {1, 2}), posixError(PosixCode::notImplemented));
  EXPECT_THAT(log_.texts(),
              IsSupersetOf({"The exception 'NSInvalidArgumentException' occurred while trying to "
                            "execute the privileged operation: Couldn't posix_spawn: error 13",
                            "The exception '<nil>' occurred while trying to execute the privileged "
                            "operation: <nil>",
                            "Privileged operation signal-process could not be performed because no "
                            "implementation found."}));
}

TEST_F(RequestPipelineTest, LinesOfAuthorizedOperationsAreKeptWithoutAnAllowance) {
  handle("SignalProcessWithArguments:", returning(success));
  while (allowance_.admits(caller_.userID)) continue;
  const struct {
    std::uint64_t code;
    AuthorizationStatus status;
    Array arguments;
    std::size_t lines;
  } cases[] = {{signalProcess, noError, {1, 2}, 4},
               {signalProcess, denied, {1, 2}, 0},
               {nop, noError, {}, 0}};
  for (const auto& [code, status, arguments, lines] : cases) {
    authority_.copyRightStatus = status;
    const auto before = log_.lines().size();
    EXPECT_EQ(perform(code, arguments) == success, status == noError);
    EXPECT_EQ(log_.lines().size() - before, lines) << code;
  }
  // Three lines of the refusal, two of "nop".
  EXPECT_EQ(allowance_.takeAllReports(), (std::vector<LogAllowance::Report>{{caller_.userID, 5}}));
}

}  // namespace
}  // namespace qrt
