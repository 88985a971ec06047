#include "service/RequestPipeline.h"

#include <gmock/gmock.h>

#include "operations/OperationCatalogue.h"
#include "operations/OperationException.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/NativePlatform.h"
#include "protocol/FeedbackMessage.h"
#include "service/AuthorizationCheck.h"
#include "support/FakeAuthority.h"
#include "support/FakeFeedback.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::FakeAuthority;
using test::FakeFeedback;
using test::RecordingLog;
using testing::Contains;
using testing::IsSupersetOf;

constexpr std::uint64_t deleteFileobjects = 3, inspectFileobject = 5, signalProcess = 19,
                        executeUtility = 22, contradictory = 70;
constexpr const char* deletion =
    "performOperationDeleteFileobjectsWithArguments:feedbackConnection:";

const QRTPrivilegedOperationStaticDescription contradiction[] = {
    {contradictory, "odd-letters", 1, {}, 1, "X", "Contradicts itself."},
    {endOfCatalogue, nullptr, 0, {}, 0, nullptr, nullptr}};

class RequestPipelineTest : public testing::Test {
 protected:
  using Lines = std::vector<RecordingLog::Line>;

  RecordingLog log_;
  FakeAuthority authority_;
  QRTPrivilegedOperationSetVK2 operations_{log_, authority_};
  const QRTPrivilegedOperationSetVK2 badOperations_{log_, authority_, contradiction};
  const NativePlatform native_;
  const Platform platform_ =
      test::platformWith({.log = &log_, .authority = &authority_}, native_.facilities());
  LogAllowance allowance_;
  const Caller caller_{.userID = 1000};
  FakeFeedback feedback_;
  std::optional<Array> performed_;

  void handle(const char* name, Handler handler) { operations_.handlers().add(name, handler); }
  Handler recording(Outcome outcome = success) {
    return
        [this, outcome](const Platform&, const Array& arguments, FeedbackConnection* connection) {
          performed_ = arguments;
          if (connection) connection->processPrivilegedOperationFeedback(progressMessage(0.5));
          return outcome;
        };
  }

  Outcome perform(std::uint64_t code, std::optional<Array> arguments,
                  FeedbackEndpoint* endpoint = nullptr) {
    std::optional<DecodedArguments> received;
    if (arguments) received.emplace(std::move(*arguments));
    return perform(code, received ? &*received : nullptr, endpoint);
  }
  Outcome perform(std::uint64_t code, RequestArguments* received, FeedbackEndpoint* endpoint) {
    const auto nothing = [](const Platform&, const Array&, FeedbackConnection*) -> Outcome {
      return success;
    };
    const RequestPipeline pipeline(
        code == contradictory ? badOperations_ : operations_, platform_, allowance_,
        {{operation_code::nop, nothing}, {operation_code::discardAuth, nothing}});
    return pipeline.performPrivilegedOperation(caller_, code, Data(32, 7), endpoint, received);
  }
};

TEST_F(RequestPipelineTest, AnswersARequestInTheOrderOfItsSteps) {
  handle("performOperationInspectFileobjectWithArguments:", recording());
  const Dictionary metadata{{"QRTAuthorizationPrompt", "May I?"}, {"QRTAuthorizationIcon", 5}};
  EXPECT_EQ(perform(inspectFileobject, Array{"!QRTMETA!", metadata, "/tmp"}), success);
  EXPECT_EQ(performed_, Array{"/tmp"});
  EXPECT_EQ(
      log_.lines(),
      (Lines{{LogLevel::info,
              "About to perform privileged operation 'inspect-fileobject' with 3 arguments."},
             {LogLevel::error,
              "Actual number of arguments is 1. 2 additional metadata entries have been "
              "transferred."},
             {LogLevel::info,
              "Operation inspect-fileobject will be executed with feedback option disabled."},
             {LogLevel::info, "Operation inspect-fileobject was completed with return code 0."}}));
  const auto calls = authority_.calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[1].rightName, "com.vantor.vk2.inspect-fileobject");
  EXPECT_EQ(calls[1].environment,
            (std::vector<FakeAuthority::Item>{{"prompt", std::string("May I?\0", 7)}}));
}

TEST_F(RequestPipelineTest, RefusesWhatDoesNotFitTheCatalogue) {
  const auto refuse = [this](std::uint64_t code, std::optional<Array> arguments, const char* line) {
    EXPECT_EQ(perform(code, arguments, &feedback_), posixError(PosixCode::invalidArgument));
    EXPECT_EQ(log_.lines().back(), (RecordingLog::Line{LogLevel::error, line}));
  };
  refuse(12345, Array{}, "Received invalid operation with code 12345, 0 arguments.");
  refuse(inspectFileobject, std::nullopt, "Received invalid operation with code 5, 0 arguments.");
  DecodedArguments unreadable(std::nullopt, 7);
  EXPECT_EQ(perform(inspectFileobject, &unreadable, nullptr),
            posixError(PosixCode::invalidArgument));
  EXPECT_EQ(log_.lines().back().text, "Received invalid operation with code 5, 7 arguments.");
  refuse(inspectFileobject, Array{"!QRTMETA!", "no dictionary", "/tmp"},
         "Operation inspect-fileobject was rejected because an invalid number of arguments was "
         "specified (1 expected, 3 sent).");
  refuse(signalProcess, Array{1, "9"},
         "Operation signal-process was rejected because argument 1 has class NSString (expected "
         "type 'N').");
  refuse(inspectFileobject, Array{Data{1}},
         "Operation inspect-fileobject was rejected because argument 0 has class NSData (expected "
         "type 'S').");
  refuse(deleteFileobjects, Array{"1", "0", Date{}},
         "Operation delete-fileobjects was rejected because at least one argument has class NSDate "
         "(string expected).");
  refuse(contradictory, Array{"a"},
         "Operation odd-letters was rejected because a contradiction in its definition has been "
         "detected (invalid type code 'X').");
  EXPECT_TRUE(feedback_.messages.empty());
}

TEST_F(RequestPipelineTest, AuthorizesBeforeItValidates) {
  const auto asks = [&](AuthorizationStatus status) {
    authority_.copyRightStatus = status;
    return perform(signalProcess, Array{"wrong"});
  };
  EXPECT_EQ(asks(AuthorizationStatus::noError), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(asks(AuthorizationStatus::canceled), posixError(PosixCode::canceled));
  EXPECT_EQ(asks(AuthorizationStatus::denied), posixError(PosixCode::notPermitted));
  EXPECT_EQ(asks(AuthorizationStatus::interactionNotAllowed), osStatusError(-60007));
  EXPECT_EQ(authority_.calls().back().function, "free");
  EXPECT_THAT(log_.texts(),
              IsSupersetOf({"Operation could not be authorized, rejected with error code 1.",
                            "Privileged helper received failure status -60007 during an attempt "
                            "to interactively extend rights."}));
}

TEST_F(RequestPipelineTest, AFormThatIsNotAcceptedIsAFlawOfTheSystem) {
  authority_.createFromExternalFormStatus = AuthorizationStatus::internalizeNotAllowed;
  EXPECT_EQ(codeOf(perform(operation_code::nop, Array{})), 87654321);
  EXPECT_THAT(log_.lines(), Contains(RecordingLog::Line{
                                LogLevel::fault,
                                "OS failure detected: valid authorization (07, 07, 07, 07, ...) "
                                "not internalized, got ref 0x0 with error -60010."}));
  const AuthorizationCheck check(operations_, authority_, log_);
  EXPECT_EQ(codeOf(check.checkAuthorization({}, Data(31), operation_code::nop, "", "", false)), 22);
  EXPECT_EQ(codeOf(check.checkAuthorization({}, Data(32), 4711, "", "", false)), 22);
}

TEST_F(RequestPipelineTest, FeedbackBeginsAndEndsAroundTheOperation) {
  handle(deletion, recording(posixError(PosixCode::notEmpty)));
  EXPECT_EQ(codeOf(perform(deleteFileobjects, Array{}, &feedback_)), 66);
  EXPECT_EQ(feedback_.messages,
            (std::vector<Dictionary>{progressMessage(0.0), progressMessage(0.5), finalMessage()}));
  EXPECT_TRUE(feedback_.suspended);
  EXPECT_EQ(feedback_.interface, operations_.interfaceForFeedbackProtocol());
  EXPECT_THAT(log_.texts(),
              testing::ElementsAre(
                  testing::_, "About to configure feedback protocol.",
                  "About to open return connection for feedback (progress option 1).",
                  "Operation delete-fileobjects will be executed with feedback option enabled.",
                  "Sending final feedback message.",
                  testing::MatchesRegex("Suspending feedback connection 0x[0-9a-f]+."),
                  "Operation delete-fileobjects was completed with return code 66."));
}

TEST_F(RequestPipelineTest, LiveOutputBeginsWithTwoEmptyStreams) {
  EXPECT_EQ(perform(operation_code::nop, Array{}, &feedback_), success);
  EXPECT_TRUE(feedback_.messages.empty()) << "an operation without feedback";
  handle("performOperationExecuteUtilityWithArguments:feedbackConnection:", recording());
  EXPECT_EQ(perform(executeUtility, Array{}, &feedback_), success);
  EXPECT_EQ(feedback_.messages.front(), initialOutputMessage());
  EXPECT_THAT(log_.texts(),
              Contains("About to open return connection for feedback (progress option 0)."));
}

TEST_F(RequestPipelineTest, AFailedFirstMessageKeepsTheOperationFromRunning) {
  handle(deletion, recording());
  feedback_.refusal = Error{"NSCocoaErrorDomain", 4099, {{"NSLocalizedDescription", "Gone."}}};
  EXPECT_EQ(perform(deleteFileobjects, Array{}, &feedback_), *feedback_.refusal);
  EXPECT_FALSE(performed_);
  EXPECT_EQ(log_.texts().back(),
            "The operation is supporting feedback information, but no return connection could be "
            "opened (Gone.).");
}

TEST_F(RequestPipelineTest, AnOperationWithoutHandlerIsNotImplemented) {
  // A handler of the other arity does not count.
  handle("performOperationSignalProcessWithArguments:feedbackConnection:", recording());
  EXPECT_EQ(codeOf(perform(signalProcess, Array{1, 2})), 78);
  EXPECT_THAT(log_.texts(), Contains("Privileged operation signal-process could not be performed "
                                     "because no implementation found."));
}

TEST_F(RequestPipelineTest, AnEscapedExceptionIsAnInterruption) {
  const Handler throwing[] = {
      [](const Platform&, const Array&, FeedbackConnection*) -> Outcome {
        throw OperationException("NSInvalidArgumentException", "Couldn't posix_spawn: error 13");
      },
      [](const Platform&, const Array&, FeedbackConnection*) -> Outcome { throw 42; }};
  for (const auto& handler : throwing) {
    handle(deletion, handler);
    feedback_ = {};
    EXPECT_EQ(perform(deleteFileobjects, Array{}, &feedback_), posixError(PosixCode::interrupted));
    EXPECT_EQ(feedback_.messages.back(), finalMessage());
  }
  EXPECT_THAT(log_.texts(),
              IsSupersetOf({"The exception 'NSInvalidArgumentException' occurred while trying to "
                            "execute the privileged operation: Couldn't posix_spawn: error 13",
                            "The exception '<nil>' occurred while trying to execute the "
                            "privileged operation: <nil>"}));
}

TEST_F(RequestPipelineTest, LinesOfGrantedOperationsAreKeptWhenTheUserHasNoneLeft) {
  handle("performOperationSignalProcessWithArguments:",
         [](const Platform& platform, const Array&, FeedbackConnection*) -> Outcome {
           platform.log.info("A line of the handler.");
           return success;
         });
  while (allowance_.admits(caller_.userID)) continue;
  const struct {
    std::uint64_t code;
    AuthorizationStatus status;
    Array arguments;
    std::size_t lines;
  } cases[] = {{signalProcess, AuthorizationStatus::noError, {1, 2}, 4},
               {signalProcess, AuthorizationStatus::denied, {1, 2}, 0},
               {operation_code::nop, AuthorizationStatus::noError, {}, 0}};
  for (const auto& [code, status, arguments, lines] : cases) {
    authority_.copyRightStatus = status;
    const auto before = log_.lines().size();
    EXPECT_EQ(perform(code, arguments) == success, status == AuthorizationStatus::noError);
    EXPECT_EQ(log_.lines().size() - before, lines) << code;
  }
  EXPECT_EQ(log_.texts()[0],
            "About to perform privileged operation 'signal-process' with 2 arguments.");
  // Three of the refusal, two of "nop".
  EXPECT_EQ(allowance_.takeAllReports(), (std::vector<LogAllowance::Report>{{caller_.userID, 5}}));
}

TEST_F(RequestPipelineTest, OnlyDiscardingDestroysTheSharedRights) {
  for (const auto& [code, flags] :
       {std::pair{operation_code::nop, 0u}, {operation_code::discardAuth, 8u}}) {
    EXPECT_EQ(perform(code, Array{}), success);
    const auto calls = authority_.takeCalls();
    EXPECT_EQ(calls[1].flags, 3u);
    EXPECT_EQ(calls.back(), (FakeAuthority::Call{"free", {}, flags}));
  }
}

}  // namespace
}  // namespace qrt
