#include "service/RequestPipeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "operations/OperationCatalogue.h"
#include "operations/OperationException.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "protocol/FeedbackMessage.h"
#include "service/AuthorizationCheck.h"
#include "support/FakeAuthority.h"
#include "support/FakeFeedback.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::FakeAuthority;
using test::FakeFeedback;
using test::RecordingLog;
using Lines = std::vector<RecordingLog::Line>;

constexpr std::uint64_t inspectFileobject = 5, deleteFileobjects = 3, signalProcess = 19,
                        executeUtility = 22, contradictory = 70;

const QRTPrivilegedOperationStaticDescription catalogue[] = {
    {9998, "nop", 0, {}, 0, nullptr, "Does nothing."},
    {9997, "discard-auth", 0, {}, 0, nullptr, "Forgets."},
    {3, "delete-fileobjects", 1, {true, false}, NSNotFound, nullptr, "Deletes."},
    {5, "inspect-fileobject", 1, {}, 1, "S", "Inspects."},
    {19, "signal-process", 1, {}, 2, "NN", "Signals."},
    {22, "execute-utility", 1, {false, true}, NSNotFound, nullptr, "Runs."},
    {70, "odd-letters", 1, {}, 1, "X", "Contradicts itself."},
    {endOfCatalogue, nullptr, 0, {}, 0, nullptr, nullptr}};

class RequestPipelineTest : public testing::Test {
 protected:
  RecordingLog log_;
  FakeAuthority authority_;
  QRTPrivilegedOperationSetVK2 operations_{log_, authority_, catalogue};
  FakeFeedback feedback_;
  std::optional<Array> performed_;

  void handle(const char* name, Handler handler) { operations_.handlers().add(name, handler); }
  Handler recording(Outcome outcome = success) {
    return [this, outcome](const Array& arguments, FeedbackConnection* connection) {
      performed_ = arguments;
      if (connection) connection->processPrivilegedOperationFeedback(progressMessage(0.5));
      return outcome;
    };
  }

  Outcome perform(std::uint64_t code, std::optional<Array> arguments,
                  FeedbackEndpoint* endpoint = nullptr) {
    const RequestPipeline pipeline(
        operations_, authority_, log_,
        {{operation_code::nop, [](const Array&) -> Outcome { return success; }},
         {operation_code::discardAuth, [](const Array&) -> Outcome { return success; }}});
    return pipeline.performPrivilegedOperation(code, Data(32, 7), endpoint, std::move(arguments));
  }
};

TEST_F(RequestPipelineTest, AnswersARequestInTheOrderOfItsSteps) {
  handle("performOperationInspectFileobjectWithArguments:", recording());
  EXPECT_EQ(perform(inspectFileobject, Array{"!QRTMETA!",
                                             Dictionary{{"QRTAuthorizationPrompt", "May I?"},
                                                        {"QRTAuthorizationIcon", 5}},
                                             "/tmp"}),
            success);
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
  struct Case {
    std::uint64_t code;
    std::optional<Array> arguments;
    const char* line;
  };
  const Case cases[] = {
      {12345, Array{}, "Received invalid operation with code 12345, 0 arguments."},
      {inspectFileobject, std::nullopt, "Received invalid operation with code 5, 0 arguments."},
      {inspectFileobject, Array{"!QRTMETA!", "no dictionary", "/tmp"},
       "Operation inspect-fileobject was rejected because an invalid number of arguments was "
       "specified (1 expected, 3 sent)."},
      {signalProcess, Array{1, "9"},
       "Operation signal-process was rejected because argument 1 has class NSString (expected "
       "type 'N')."},
      {signalProcess, Array{Data{1}, 9},
       "Operation signal-process was rejected because argument 0 has class NSData (expected type "
       "'N')."},
      {deleteFileobjects, Array{"1", "0", Date{}},
       "Operation delete-fileobjects was rejected because at least one argument has class NSDate "
       "(string expected)."},
      {contradictory, Array{"a"},
       "Operation odd-letters was rejected because a contradiction in its definition has been "
       "detected (invalid type code 'X')."},
  };
  for (const auto& c : cases) {
    const auto outcome = perform(c.code, c.arguments, &feedback_);
    ASSERT_TRUE(outcome) << c.line;
    EXPECT_TRUE(isPosixError(*outcome, PosixCode::invalidArgument)) << c.line;
    EXPECT_EQ(log_.lines().back(), (RecordingLog::Line{LogLevel::error, c.line}));
  }
  EXPECT_TRUE(feedback_.messages.empty());
}

TEST_F(RequestPipelineTest, AuthorizesBeforeItValidates) {
  const auto asks = [&](AuthorizationStatus status) {
    authority_.copyRightStatuses = {status};
    return perform(signalProcess, Array{"wrong"});
  };
  EXPECT_EQ(asks(AuthorizationStatus::noError), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(asks(AuthorizationStatus::canceled), posixError(PosixCode::canceled));
  EXPECT_EQ(asks(AuthorizationStatus::interactionNotAllowed), osStatusError(-60007));
  EXPECT_THAT(log_.lines(),
              testing::Contains(RecordingLog::Line{
                  LogLevel::info,
                  "Privileged helper received failure status -60007 during an attempt to "
                  "interactively extend rights."}));
  EXPECT_EQ(authority_.takeCalls().back().function, "free");
  EXPECT_EQ(asks(AuthorizationStatus::denied), posixError(PosixCode::notPermitted));
  EXPECT_EQ(log_.texts().back(), "Operation could not be authorized, rejected with error code 1.");
}

TEST_F(RequestPipelineTest, AFormThatIsNotAcceptedIsAFlawOfTheSystem) {
  authority_.createFromExternalFormStatus = AuthorizationStatus::internalizeNotAllowed;
  EXPECT_EQ(codeOf(perform(operation_code::nop, Array{})), 87654321);
  const AuthorizationCheck check(operations_, authority_, log_);
  EXPECT_EQ(check.checkAuthorization(Data(31), operation_code::nop, "", "", false),
            posixError(PosixCode::invalidArgument));
  EXPECT_EQ(check.checkAuthorization(Data(32), 4711, "", "", false),
            posixError(PosixCode::invalidArgument));
  EXPECT_THAT(log_.lines(),
              testing::Contains(RecordingLog::Line{
                  LogLevel::fault,
                  "OS failure detected: valid authorization (07, 07, 07, 07, ...) not "
                  "internalized, got ref 0x0 with error -60010."}));
}

TEST_F(RequestPipelineTest, FeedbackBeginsAndEndsAroundTheOperation) {
  handle("performOperationDeleteFileobjectsWithArguments:feedbackConnection:",
         recording(posixError(PosixCode::notEmpty)));
  EXPECT_EQ(codeOf(perform(deleteFileobjects, Array{}, &feedback_)), 66);
  EXPECT_EQ(feedback_.messages,
            (std::vector<Dictionary>{progressMessage(0.0), progressMessage(0.5), finalMessage()}));
  EXPECT_TRUE(feedback_.suspended);
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
  handle("performOperationExecuteUtilityWithArguments:feedbackConnection:", recording());
  EXPECT_EQ(perform(executeUtility, Array{}, &feedback_), success);
  EXPECT_EQ(feedback_.messages.front(), initialOutputMessage());
  EXPECT_EQ(log_.texts()[2], "About to open return connection for feedback (progress option 0).");
}

TEST_F(RequestPipelineTest, NoFeedbackForAnOperationWithoutAny) {
  EXPECT_EQ(perform(operation_code::nop, Array{}, &feedback_), success);
  EXPECT_TRUE(feedback_.messages.empty());
}

TEST_F(RequestPipelineTest, AFailedFirstMessageKeepsTheOperationFromRunning) {
  handle("performOperationDeleteFileobjectsWithArguments:feedbackConnection:", recording());
  feedback_.refusal = Error{"NSCocoaErrorDomain", 4099, {{"NSLocalizedDescription", "Gone."}}};
  EXPECT_EQ(perform(deleteFileobjects, Array{}, &feedback_), *feedback_.refusal);
  EXPECT_FALSE(performed_);
  EXPECT_EQ(log_.lines().back().text,
            "The operation is supporting feedback information, but no return connection could be "
            "opened (Gone.).");
}

TEST_F(RequestPipelineTest, AnOperationWithoutHandlerIsNotImplemented) {
  // A handler of the other arity does not count.
  handle("performOperationSignalProcessWithArguments:feedbackConnection:", recording());
  EXPECT_EQ(codeOf(perform(signalProcess, Array{1, 2})), 78);
  EXPECT_EQ(log_.texts()[1],
            "Privileged operation signal-process could not be performed because no implementation "
            "found.");
}

TEST_F(RequestPipelineTest, AnEscapedExceptionIsAnInterruption) {
  struct Case {
    Handler handler;
    const char* told;
  };
  const Case cases[] = {
      {[](const Array&, FeedbackConnection*) -> Outcome {
         throw OperationException("NSInvalidArgumentException", "Couldn't posix_spawn: error 13");
       },
       "'NSInvalidArgumentException' occurred while trying to execute the privileged operation: "
       "Couldn't posix_spawn: error 13"},
      {[](const Array&, FeedbackConnection*) -> Outcome { throw 42; },
       "'<nil>' occurred while trying to execute the privileged operation: <nil>"},
  };
  for (const auto& c : cases) {
    handle("performOperationDeleteFileobjectsWithArguments:feedbackConnection:", c.handler);
    feedback_ = {};
    EXPECT_EQ(perform(deleteFileobjects, Array{}, &feedback_), posixError(PosixCode::interrupted));
    EXPECT_EQ(feedback_.messages.back(), finalMessage());
    EXPECT_THAT(log_.texts(), testing::Contains(std::string("The exception ") + c.told));
  }
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
