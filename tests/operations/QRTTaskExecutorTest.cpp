#include "operations/QRTTaskExecutor.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "operations/OperationException.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

class TaskExecutor : public testing::Test {
 protected:
  const NativePlatform native;
  test::RecordingLog log;
  QRTTaskExecutor executor{native.facilities().subprocesses, log};
};

/// Writes down what it is told.
class Witness : public QRTTaskExecutorDelegate {
 public:
  void receiveTaskOutput(Data data, bool isError) override {
    events.push_back((isError ? "error:" : "output:") + std::string(data.begin(), data.end()));
  }
  void taskWillExecute(QRTTaskExecutor& executor) override {
    events.push_back(state("will", executor));
  }
  void taskDidLaunch(QRTTaskExecutor& executor) override {
    events.push_back(state("did", executor));
  }

  static std::string state(std::string text, const QRTTaskExecutor& executor) {
    for (const int handle : {executor.subTaskInputHandle(), executor.subTaskOutputHandle(),
                             executor.subTaskErrorHandle()}) {
      text += handle < 0 ? " -" : " open";
    }
    return text;
  }

  std::vector<std::string> events;
};

TEST_F(TaskExecutor, TheDelegateIsToldEachStepInOrder) {
  using Events = std::vector<std::string>;
  Witness witness;
  executor.setDelegate(&witness);
  EXPECT_EQ(
      executor.executeProgramAtPath("/bin/sh", {"-c", "echo x; sleep 0.1; echo y >&2; exit 3"}), 3);
  EXPECT_EQ(std::exchange(witness.events, {}),
            (Events{"will open open open", "did open open open", "output:x\n", "error:y\n",
                    "output:", "error:"}));
  EXPECT_EQ(Witness::state("after", executor), "after - - -");

  EXPECT_EQ(executor.executeProgramAtPath("/bin/true", {}), 0);
  EXPECT_EQ(witness.events,
            (Events{"will open open open", "did open open open", "output:", "error:"}));
}

TEST_F(TaskExecutor, WithoutADelegateTheOutputIsThisProcesss) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  executor.executeProgramAtPath("/bin/sh", {"-c", "echo out; echo err >&2"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\n");
}

TEST_F(TaskExecutor, WithoutAPathNothingHappens) {
  Witness witness;
  executor.setDelegate(&witness);
  EXPECT_EQ(executor.executeProgramAtPath("", {}), -1);
  EXPECT_TRUE(witness.events.empty() && log.lines().empty());
}

// UndefinedBehaviorSanitizer opens a pipe to look at an object, and takes failure for a bad object.
#ifndef __SANITIZE_ADDRESS__
TEST_F(TaskExecutor, WithoutDescriptorsAProgramIsNotRun) {
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{0, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const auto status = executor.executeProgramAtPath("/usr/bin/some-tool", {});
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(status, -1);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].level, LogLevel::error);
  EXPECT_EQ(log.lines()[0].text,
            "The operation 'some-tool' cannot be executed because the system is running out of "
            "file handles.");
}
#endif

TEST_F(TaskExecutor, AProgramThatCannotBeLaunchedIsAnException) {
  Witness witness;
  executor.setDelegate(&witness);
  try {
    executor.executeProgramAtPath("/absent/tool", {});
    FAIL() << "nothing was thrown";
  } catch (const OperationException& exception) {
    EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
    EXPECT_STREQ(exception.what(), "Couldn't posix_spawn: error 2");
  }
  EXPECT_EQ(witness.events, std::vector<std::string>{"will open open open"});
  EXPECT_EQ(Witness::state("after", executor), "after - - -");
}

struct SafetyCase {
  const char* what;
  mode_t mode = 0755;
  uid_t owner = 0;
  gid_t group = 0;
  mode_t folderMode = 0755;
  uid_t folderOwner = 0;
  gid_t folderGroup = 0;
  bool isSafe = false;
};

TEST_F(TaskExecutor, OnlyRootCanHavePutASafeProgramThere) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
  auto& files = native.facilities().files;
  const SafetyCase cases[] = {
      {.what = "as it should be", .isSafe = true},
      {.what = "for root alone", .mode = 0500, .folderMode = 0700, .isSafe = true},
      {.what = "set-id and sticky", .mode = 06755, .folderMode = 01755, .isSafe = true},
      {.what = "written by the group", .mode = 0775},
      {.what = "written by others", .mode = 0757},
      {.what = "another owner", .owner = 1},
      {.what = "another group", .group = 1},
      {.what = "folder written by the group", .folderMode = 0775},
      {.what = "folder written by others", .folderMode = 0757},
      {.what = "folder of another", .folderOwner = 1},
      {.what = "folder of another group", .folderGroup = 1},
  };
  for (const auto& c : cases) {
    const test::ScratchFolder scratch;
    const auto folder = scratch.folder("folder");
    const auto tool = scratch.file("folder/tool");
    const auto link = scratch.link("link", tool);
    ASSERT_EQ(chown(tool.c_str(), c.owner, c.group), 0);
    ASSERT_EQ(chmod(tool.c_str(), c.mode), 0);
    ASSERT_EQ(chown(folder.c_str(), c.folderOwner, c.folderGroup), 0);
    ASSERT_EQ(chmod(folder.c_str(), c.folderMode), 0);
    // Whose a link is and where it lies does not matter.
    ASSERT_EQ(lchown(link.c_str(), 1, 1), 0);
    ASSERT_EQ(chmod(scratch.path().c_str(), 0777), 0);
    for (const auto& path : {tool, link}) {
      EXPECT_EQ(QRTTaskExecutor::hasExecutableSafePermissionsAtPath(files, path), c.isSafe)
          << c.what << " " << path;
    }
  }
}

TEST_F(TaskExecutor, WhatIsNoProgramIsNotSafe) {
  auto& files = native.facilities().files;
  const test::ScratchFolder scratch;
  scratch.link("dangling", "absent");
  scratch.link("loop", "loop");
  for (const auto& path : {std::string(), scratch.path(), scratch.path("absent"),
                           scratch.path("dangling"), scratch.path("loop"), std::string("/")}) {
    EXPECT_FALSE(QRTTaskExecutor::hasExecutableSafePermissionsAtPath(files, path)) << path;
  }
}

}  // namespace
}  // namespace qrt
