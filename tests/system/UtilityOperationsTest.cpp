#include "system/UtilityOperations.h"

#include <sys/resource.h>

#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/NativePlatform.h"
#include "protocol/FeedbackMessage.h"
#include "support/FakeAuthority.h"
#include "support/FakeFeedback.h"
#include "support/PlantedFile.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"
#include "system/TrustedExecution.h"

namespace qrt {
namespace {

constexpr const char* domain = "com.vantor.error.privileged-operation";

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

class UtilityOperations : public testing::Test {
 protected:
  /// A program in a place of root's; the table knows it by its last component.
  std::string plantTool(const std::string& name, const std::string& script, mode_t mode = 0755) {
    const auto path = scratch.file(name, "#!/bin/sh\n" + script + "\n");
    chmod(path.c_str(), mode);
    return path;
  }

  Outcome execute(std::vector<std::string_view> table, const Array& arguments,
                  FeedbackConnection* connection = nullptr) {
    HandlerTable handlers;
    registerUtilityHandlers(handlers, operationSet, TrustedUtilities(table));
    return (*handlers.find("performOperationExecuteUtilityWithArguments:feedbackConnection:"))(
        native.facilities(), arguments, connection);
  }

  const test::ScratchFolder scratch;
  const NativePlatform native;
  test::RecordingLog log;
  test::FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 operationSet{log, authority};
  test::FakeFeedback feedback;
  const std::unique_ptr<FeedbackConnection> requestor = feedback.connect();
};

TEST_F(UtilityOperations, TheTableLeadsFromNamesToTheirPlaces) {
  bool isExternal = false;
  bool needsSafePath = true;
  EXPECT_EQ(
      TrustedUtilities().trustedPathForApplicationPath("/App", "log", &isExternal, &needsSafePath),
      "/usr/bin/log");
  EXPECT_TRUE(isExternal && !needsSafePath);
  EXPECT_EQ(TrustedUtilities().trustedPathForApplicationPath("/App", "chmod"), "/bin/chmod");
  // An unknown name has no path, but both answers.
  for (const auto* name : {"periodic", "absent"}) {
    isExternal = false;
    EXPECT_FALSE(TrustedUtilities().trustedPathForApplicationPath("/App", name, &isExternal,
                                                                  &needsSafePath));
    EXPECT_TRUE(isExternal);
    EXPECT_EQ(needsSafePath, name == std::string("periodic"));
  }
}

TEST_F(UtilityOperations, TheStandardChownRunsOnThisSystem) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto file = scratch.file("file");
  const std::vector<std::string_view> table(TrustedUtilities::standardPaths.begin(),
                                            TrustedUtilities::standardPaths.end());
  EXPECT_FALSE(execute(table, {"/App", "chown", "1234:4321", file}));
  EXPECT_EQ(test::statusOf(file).st_uid, 1234u);
}

TEST_F(UtilityOperations, OtherRequestsAreInvalid) {
  const auto tool = plantTool("tool", "touch " + scratch.path("ran"));
  for (const Array& arguments :
       {Array(), Array{"/App"}, Array{"", "tool"}, Array{"/App", ""}, Array{"/App", "Tool"},
        Array{"/App", "tool "}, Array{"/App", tool}, Array{"/App", "../bin/tool"}}) {
    EXPECT_EQ(execute({tool}, arguments), posixError(PosixCode::invalidArgument));
  }
  EXPECT_FALSE(test::exists(scratch.path("ran")));
}

TEST_F(UtilityOperations, AMissingUtilityIsTold) {
  const auto folder = scratch.folder("folder");
  for (const auto& path : {scratch.path("absent"), folder}) {
    const auto name = path.substr(path.rfind('/') + 1);
    EXPECT_EQ(execute({path}, {"/App", name}),
              (Error{domain,
                     1,
                     {{"NSLocalizedDescription",
                       "A required component of macOS is missing in your system installation."},
                      {"QRTLocalizedRecoverySuggestionTemplate",
                       "Please verify that the UNIX program $1$ is present at its standard path "
                       "'$2$'."},
                      {"QRTLocalizedRecoverySuggestionParameters", Array{name, path}},
                      {"NSFilePath", path}}}));
  }
}

TEST_F(UtilityOperations, AnUnsafeUtilityIsNotStarted) {
  const auto tool = plantTool("tool", "touch " + scratch.path("ran"), 0775);
  const auto failure = execute({tool}, {"/App", "tool"}, requestor.get());
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->domain, domain);
  EXPECT_EQ(failure->code, 2);
  EXPECT_EQ(*stringIn(failure->userInfo, "NSFilePath"), tool);
  EXPECT_EQ(failure->userInfo.at("QRTLocalizedRecoverySuggestionParameters"), (Array{tool}));
  EXPECT_FALSE(test::exists(scratch.path("ran")));
  EXPECT_EQ(operationSet.outputConnection(), nullptr);

  // A program that is trusted is not tested.
  EXPECT_FALSE(
      executeTrusted(native.facilities(), operationSet, true, tool, {}, false, requestor.get()));
  EXPECT_TRUE(test::exists(scratch.path("ran")));
}

// UndefinedBehaviorSanitizer opens a pipe to look at an object, and takes failure for a bad object.
#ifndef QRT_SANITIZED
TEST_F(UtilityOperations, ShortOfDescriptorsAUtilityFailsAsItsLaunchWould) {
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
    EXPECT_EQ(outcome->code, 3) << spare;
    EXPECT_EQ(outcome->userInfo.at("QRTLocalizedRecoverySuggestionParameters"), (Array{"-1"}));
    EXPECT_EQ(log.lines().back(),
              (test::RecordingLog::Line{LogLevel::error,
                                        "The operation 'true' cannot be executed because the "
                                        "system is running out of file handles."}));
    EXPECT_EQ(log.lines().size(), spare + 1);
  }
}
#endif

TEST_F(UtilityOperations, AFailureComesAfterItsOutput) {
  const auto tool = plantTool("tool", "echo out; sleep 0.1; echo err >&2; exit $1");
  EXPECT_EQ(execute({tool}, {"/App", "tool", "1"}, requestor.get()),
            (Error{domain,
                   3,
                   {{"NSLocalizedDescription",
                     "It was not possible to complete the operation successfully."},
                    {"QRTLocalizedRecoverySuggestionTemplate",
                     "The operating system could not perform the requested operation. It returned "
                     "error code $1$."},
                    {"QRTLocalizedRecoverySuggestionParameters", Array{"1"}}}}));
  EXPECT_EQ(feedback.messages,
            (std::vector{outputMessage(bytes("out\n")), errorOutputMessage(bytes("err\n")),
                         outputMessage({}), errorOutputMessage({})}));
  EXPECT_EQ(operationSet.outputConnection(), requestor.get())
      << "a failed run leaves its connection";
  EXPECT_FALSE(execute({tool}, {"/App", "tool", "0"}, requestor.get()));
  EXPECT_EQ(operationSet.outputConnection(), nullptr);
  // Without a connection a utility runs all the same.
  EXPECT_FALSE(execute({tool}, {"/App", "tool", "0"}));
}

TEST_F(UtilityOperations, ArgumentsArriveUnchangedAndInOrder) {
  EXPECT_FALSE(execute({"/usr/bin/printf"},
                       {"/App", "printf", "[%s]", "b c", "", "a", "--", "$HOME *", "\xff\n"},
                       requestor.get()));
  EXPECT_EQ(feedback.messages, (std::vector{outputMessage(bytes("[b c][][a][--][$HOME *][\xff\n]")),
                                            outputMessage({}), errorOutputMessage({})}));
}

TEST_F(UtilityOperations, TheSearchPathIsTheSafeOneOrNone) {
  ASSERT_NE(getenv("PATH"), nullptr);
  const std::string before = getenv("PATH");
  for (const bool isSafe : {false, true}) {
    feedback.messages.clear();
    const auto outcome = executeTrusted(native.facilities(), operationSet, false,
                                        "/usr/bin/printenv", {"PATH"}, isSafe, requestor.get());
    EXPECT_EQ(!outcome, isSafe);
    EXPECT_EQ(feedback.messages.front(),
              outputMessage(bytes(isSafe ? "/usr/bin:/bin:/usr/sbin:/sbin\n" : "")));
    EXPECT_EQ(feedback.messages.size(), isSafe ? 3u : 2u);
  }
  EXPECT_EQ(getenv("PATH"), before);
}

}  // namespace
}  // namespace qrt
