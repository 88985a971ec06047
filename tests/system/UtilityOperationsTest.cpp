#include "system/UtilityOperations.h"

#include <sys/resource.h>

#include "operations/PrivilegedOperationError.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/NativePlatform.h"
#include "protocol/FeedbackMessage.h"
#include "support/FakeAuthority.h"
#include "support/FakeFeedback.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"
#include "system/TrustedExecution.h"
#include "system/TrustedUtilities.h"

namespace qrt {
namespace {

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

class UtilityOperations : public testing::Test {
 protected:
  /// Makes a safe program, which the table knows by its last component.
  std::string makeTool(const std::string& script) {
    const auto path = scratch.file("tool", "#!/bin/sh\n" + script + "\n");
    chmod(path.c_str(), 0755);
    return path;
  }

  Outcome execute(std::string_view utility, const Array& arguments,
                  FeedbackConnection* connection = nullptr) {
    return performOperationExecuteUtilityWithArguments(
        operationSet, TrustedUtilities({&utility, 1}), native.facilities(), arguments, connection);
  }

  const test::ScratchFolder scratch;
  const NativePlatform native;
  test::RecordingLog log;
  test::FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 operationSet{log, authority};
  test::FakeFeedback feedback;
  const std::unique_ptr<FeedbackConnection> requestor = feedback.connect();
};

TEST_F(UtilityOperations, RefuseNamesThatAreNotInTheTable) {
  const auto tool = makeTool("touch " + scratch.path("ran"));
  for (const Array& arguments :
       {Array{"/App"}, Array{"", "tool"}, Array{"/App", ""}, Array{"/App", "tool "},
        Array{"/App", tool}, Array{"/App", "../tool"}}) {
    EXPECT_EQ(execute(tool, arguments), posixError(PosixCode::invalidArgument));
  }
  EXPECT_FALSE(test::exists(scratch.path("ran")));
}

TEST_F(UtilityOperations, ReportAMissingUtility) {
  const auto folder = scratch.folder("folder");
  for (const auto& path : {scratch.path("absent"), folder}) {
    const auto name = path.substr(path.rfind('/') + 1);
    const auto missing = privilegedOperationError(
        1, "A required component of macOS is missing in your system installation.",
        "Please verify that the UNIX program $1$ is present at its standard path '$2$'.",
        {name, path});
    EXPECT_EQ(execute(path, {"/App", name}), withFilePath(missing, path));
  }
}

TEST_F(UtilityOperations, AnUnsafeUtilityIsNotStartedUnlessItIsTrusted) {
  const auto tool = makeTool("touch " + scratch.path("ran"));
  chmod(tool.c_str(), 0775);
  const auto failure = execute(tool, {"/App", "tool"}, requestor.get());
  ASSERT_EQ(codeOf(failure), 2);
  EXPECT_EQ(*stringIn(failure->userInfo, "NSFilePath"), tool);
  EXPECT_FALSE(test::exists(scratch.path("ran")));
  EXPECT_EQ(operationSet.outputConnection(), nullptr);

  EXPECT_FALSE(
      executeTrusted(native.facilities(), operationSet, true, tool, {}, false, requestor.get()));
  EXPECT_TRUE(test::exists(scratch.path("ran")));
}

// UndefinedBehaviorSanitizer opens a pipe to look at an object, and takes failure for a bad object.
#ifndef QRT_SANITIZED
TEST_F(UtilityOperations, WithoutDescriptorsAUtilityFailsAsItsLaunchWould) {
  const auto platform = test::platformWith({.log = &log}, native.facilities());
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  const int lowest = dup(STDIN_FILENO);
  const auto firstFree = static_cast<rlim_t>(lowest);
  close(lowest);
  rlim_t spare = 0;
  for (Outcome outcome = posixError(PosixCode::busy); outcome; ++spare) {
    ASSERT_LT(spare, 20u);
    const rlimit few{firstFree + spare, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    outcome = executeTrusted(platform, operationSet, false, "/usr/bin/true", {}, false, nullptr);
    setrlimit(RLIMIT_NOFILE, &before);
    if (!outcome) continue;
    EXPECT_EQ(outcome->userInfo.at("QRTLocalizedRecoverySuggestionParameters"), (Array{"-1"}));
    EXPECT_EQ(log.lines().size(), spare + 1);
  }
  EXPECT_EQ(log.texts().back(),
            "The operation 'true' cannot be executed because the system is running out of file "
            "handles.");
}
#endif

TEST_F(UtilityOperations, AFailedRunReturnsItsStatusAndKeepsItsConnection) {
  const auto tool = makeTool("printf '[%s]' \"$@\"; exit $1");
  EXPECT_EQ(execute(tool, {"/App", "tool", "1", "b c", "", "--", "$HOME *\xff"}, requestor.get()),
            privilegedOperationError(
                3, "It was not possible to complete the operation successfully.",
                "The operating system could not perform the requested operation. It returned "
                "error code $1$.",
                {"1"}));
  EXPECT_EQ(feedback.messages, (std::vector{outputMessage(bytes("[1][b c][][--][$HOME *\xff]")),
                                            outputMessage({}), errorOutputMessage({})}));
  EXPECT_EQ(operationSet.outputConnection(), requestor.get());
  EXPECT_FALSE(execute(tool, {"/App", "tool", "0"}));
  EXPECT_EQ(operationSet.outputConnection(), nullptr);
  const auto killed = execute(makeTool("kill -9 $$"), {"/App", "tool"});
  EXPECT_EQ(killed->userInfo.at("QRTProgramSignal"), PropertyValue(9));
}

TEST_F(UtilityOperations, TheSearchPathIsTheSafeOneOrThereIsNone) {
  ASSERT_NE(getenv("PATH"), nullptr);
  bool needsSafePath = false;
  TrustedUtilities().trustedPathForApplicationPath("/App", "periodic", nullptr, &needsSafePath);
  EXPECT_TRUE(needsSafePath);
  for (const bool isSafe : {false, true}) {
    feedback.messages.clear();
    const auto outcome = executeTrusted(native.facilities(), operationSet, false,
                                        "/usr/bin/printenv", {"PATH"}, isSafe, requestor.get());
    EXPECT_EQ(!outcome, isSafe);
    EXPECT_EQ(feedback.messages.front(),
              outputMessage(bytes(isSafe ? "/usr/bin:/bin:/usr/sbin:/sbin\n" : "")));
  }
}

}  // namespace
}  // namespace qrt
