#include "operations/UtilityOperations.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "operations/OperationException.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "operations/TrustedExecution.h"
#include "platform/NativePlatform.h"
#include "support/FakeAuthority.h"
#include "support/Instrumented.h"
#include "support/PlantedFile.h"
#include "support/RecordingLog.h"
#include "support/TextOutput.h"

namespace qrt {
namespace {

using test::TextOutput;

class UtilityOperations : public testing::Test {
 protected:
  /// A program in a place of root's; the table knows it by its last component.
  std::string plantTool(const std::string& name, const std::string& script, mode_t mode = 0755) {
    const auto path = scratch.file(name, "#!/bin/sh\n" + script + "\n");
    chmod(path.c_str(), mode);
    return path;
  }

  Outcome execute(std::vector<std::string_view> table, Array arguments,
                  FeedbackConnection* connection = nullptr) {
    HandlerTable handlers;
    registerUtilityHandlers(handlers, native.facilities(), operationSet, TrustedUtilities(table));
    return (*handlers.find("performOperationExecuteUtilityWithArguments:feedbackConnection:"))(
        arguments, connection);
  }

  const test::ScratchFolder scratch;
  const NativePlatform native;
  test::RecordingLog log;
  test::FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 operationSet{log, authority};
};

TEST_F(UtilityOperations, TheTableLeadsFromSixteenNamesToTheirPlaces) {
  const TrustedUtilities utilities;
  EXPECT_EQ(TrustedUtilities::standardPaths.size(), 16u);
  EXPECT_EQ(utilities.trustedPathForApplicationPath("/App", "chmod"), "/bin/chmod");
  EXPECT_EQ(utilities.trustedPathForApplicationPath("/App", "xpchelper"), "/usr/libexec/xpchelper");
  bool isExternal = false;
  bool needsSafePath = true;
  EXPECT_TRUE(utilities.trustedPathForApplicationPath("/App", "log", &isExternal, &needsSafePath));
  EXPECT_TRUE(isExternal && !needsSafePath);
}

TEST_F(UtilityOperations, OtherRequestsAreInvalid) {
  const auto tool = plantTool("tool", "touch " + scratch.path("ran"));
  const Array cases[] = {{},
                         {"/App"},
                         {"", "tool"},
                         {"/App", ""},
                         {"/App", "Tool"},
                         {"/App", "tool "},
                         {"/App", tool},
                         {"/App", "../bin/tool"},
                         {"/App", "periodic"}};
  for (const auto& arguments : cases) {
    const auto failure = execute({tool}, arguments);
    ASSERT_TRUE(failure);
    EXPECT_EQ(*failure, posixError(PosixCode::invalidArgument));
  }
  EXPECT_FALSE(test::exists(scratch.path("ran")));
}

TEST_F(UtilityOperations, AMissingUtilityIsTold) {
  const auto folder = scratch.folder("folder");
  for (const auto& path : {scratch.path("absent"), folder}) {
    const auto name = path.substr(path.rfind('/') + 1);
    const auto failure = execute({path}, {"/App", name});
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, 1);
    EXPECT_EQ(failure->userInfo,
              (Dictionary{{"NSLocalizedDescription",
                           "A required component of macOS is missing in your system installation."},
                          {"QRTLocalizedRecoverySuggestionTemplate",
                           "Please verify that the UNIX program $1$ is present at its standard "
                           "path '$2$'."},
                          {"QRTLocalizedRecoverySuggestionParameters", Array{name, path}},
                          {"NSFilePath", path}}));
  }
}

TEST_F(UtilityOperations, AnUnsafeUtilityIsNotStarted) {
  const auto tool = plantTool("tool", "touch " + scratch.path("ran"), 0775);
  TextOutput output;
  const auto failure = execute({tool}, {"/App", "tool"}, &output);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->domain, "com.vantor.error.privileged-operation");
  EXPECT_EQ(failure->code, 2);
  EXPECT_EQ(*stringIn(failure->userInfo, "NSFilePath"), tool);
  EXPECT_EQ(failure->userInfo.at("QRTLocalizedRecoverySuggestionParameters"), (Array{tool}));
  EXPECT_FALSE(test::exists(scratch.path("ran")));
  EXPECT_EQ(operationSet.outputConnection(), nullptr);

  // A program that is trusted is not tested.
  EXPECT_FALSE(executeTrusted(native.facilities(), operationSet, true, tool, {}, false, &output));
  EXPECT_TRUE(test::exists(scratch.path("ran")));
}

TEST_F(UtilityOperations, AFailureComesAfterItsOutput) {
  const auto tool = plantTool("tool", "echo out; echo err >&2; exit $1");
  TextOutput output;
  const auto failure = execute({tool}, {"/App", "tool", "1"}, &output);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, 3);
  EXPECT_EQ(failure->userInfo,
            (Dictionary{{"NSLocalizedDescription",
                         "It was not possible to complete the operation successfully."},
                        {"QRTLocalizedRecoverySuggestionTemplate",
                         "The operating system could not perform the requested operation. It "
                         "returned error code $1$."},
                        {"QRTLocalizedRecoverySuggestionParameters", Array{"1"}}}));
  EXPECT_EQ(output.output(), "out\n");
  EXPECT_EQ(output.error(), "err\n");
  EXPECT_EQ(output.empties(), "oe");
  EXPECT_EQ(operationSet.outputConnection(), &output) << "a failed run leaves its connection";
  EXPECT_FALSE(execute({tool}, {"/App", "tool", "0"}, &output));
  EXPECT_EQ(operationSet.outputConnection(), nullptr);
  // Without a connection a utility runs all the same.
  EXPECT_EQ(codeOf(execute({tool}, {"/App", "tool", "0"})), 0);
}

TEST_F(UtilityOperations, AnUtilityThatCannotBeLaunchedIsAnException) {
  const auto tool = plantTool("tool", "", 0644);
  EXPECT_THROW((void)execute({tool}, {"/App", "tool"}), OperationException);
}

TEST_F(UtilityOperations, ArgumentsArriveUnchangedAndInOrder) {
  TextOutput output;
  EXPECT_FALSE(execute({"/usr/bin/printf"},
                       {"/App", "printf", "[%s]", "b c", "", "a", "--", "$HOME *", "\xff\n"},
                       &output));
  EXPECT_EQ(output.output(), "[b c][][a][--][$HOME *][\xff\n]");
}

TEST_F(UtilityOperations, TheSearchPathIsTheSafeOneOrNone) {
  ASSERT_NE(getenv("PATH"), nullptr);
  const std::string before = getenv("PATH");
  for (const bool isSafe : {false, true}) {
    TextOutput output;
    EXPECT_FALSE(executeTrusted(native.facilities(), operationSet, false, "/usr/bin/env", {},
                                isSafe, &output));
    const auto lines = "\n" + output.output();
    const std::string exact = "\nPATH=/usr/bin:/bin:/usr/sbin:/sbin\n";
    EXPECT_EQ(lines.find("\nPATH=") != std::string::npos, isSafe);
    EXPECT_EQ(lines.find(exact) != std::string::npos, isSafe);
  }
  EXPECT_EQ(getenv("PATH"), before);
}

/// Checks lines of ascending numbers as they come and keeps none of them.
class NumberedLines : public TextOutput {
 public:
  NumberedLines(std::uint64_t first, std::uint64_t last) : next_(first), last_(last) {}

  bool isComplete() const { return next_ == last_ + 1 && line_.empty() && !isMixed_; }
  std::size_t largestMemory() const { return largestMemory_; }

  static std::size_t memory() {
    std::ifstream statistics("/proc/self/statm");
    std::size_t size = 0;
    std::size_t resident = 0;
    statistics >> size >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  }

 protected:
  void take(std::string&, const Data& data) override {
    for (const char c : data) {
      if (c != '\n') {
        line_ += c;
        continue;
      }
      isMixed_ |= line_ != std::to_string(next_++);
      line_.clear();
    }
    largestMemory_ = std::max(largestMemory_, memory());
  }

 private:
  std::uint64_t next_;
  std::uint64_t last_;
  std::string line_;
  bool isMixed_ = false;
  std::size_t largestMemory_ = 0;
};

TEST_F(UtilityOperations, TwoFloodsAreNeitherMixedNorLostNorKept) {
  constexpr std::size_t mebibyte = 1 << 20;
  NumberedLines first(1, 1'000'000);
  NumberedLines second(5'000'001, 6'000'000);
  const auto before = NumberedLines::memory();
  std::thread other([&] {
    EXPECT_FALSE(execute({"/usr/bin/seq"}, {"/App", "seq", "5000001", "6000000"}, &second));
  });
  EXPECT_FALSE(execute({"/usr/bin/seq"}, {"/App", "seq", "1", "1000000"}, &first));
  other.join();
  EXPECT_TRUE(first.isComplete());
  EXPECT_TRUE(second.isComplete());
  for (const auto* lines : {&first, &second}) {
    EXPECT_TRUE(test::isInstrumented || lines->largestMemory() < before + 8 * mebibyte);
  }
}

TEST_F(UtilityOperations, AReaderThatStopsStopsItsOwnProgramOnly) {
  const auto ticking =
      plantTool("ticking", "while :; do echo line; echo x >> $1; test -e $2 && exit; done");
  const auto ticks = scratch.path("ticks");
  const auto end = scratch.path("end");
  const auto size = [&ticks] {
    struct stat status;
    return stat(ticks.c_str(), &status) == 0 ? status.st_size : 0;
  };
  TextOutput stuck;
  stuck.stopReading();
  std::atomic<bool> hasEnded = false;
  std::thread other([&] {
    EXPECT_FALSE(execute({ticking}, {"/App", "ticking", ticks, end}, &stuck));
    hasEnded = true;
  });
  const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); };
  // With a full pipe, a tick of two bytes for each line of five, it makes no progress any more. A
  // page of the pipe may have a few bytes to spare.
  constexpr off_t ticksOfFullPipe = 60000 / 5 * 2;
  off_t before;
  do {
    before = size();
    pause();
  } while (before < ticksOfFullPipe || size() != before);

  TextOutput output;
  EXPECT_FALSE(execute({"/usr/bin/seq"}, {"/App", "seq", "1", "100000"}, &output));
  EXPECT_EQ(output.output().size(), 588895u);
  EXPECT_EQ(size(), before);
  EXPECT_FALSE(hasEnded);

  stuck.disconnect();
  while (size() == before) pause();
  scratch.file("end");
  other.join();
  EXPECT_EQ(stuck.messages(), 0u);
}

}  // namespace
}  // namespace qrt
