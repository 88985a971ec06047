#include "system/QRTTaskExecutor.h"

#include "operations/OperationException.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Texts = std::vector<std::string>;

/// Writes down what it is told.
struct Witness : QRTTaskExecutorDelegate {
  Texts events;

  void receiveTaskOutput(Data data, bool isError) override {
    events.push_back((isError ? "error:" : "output:") + std::string(data.begin(), data.end()));
  }
  void taskWillExecute(QRTTaskExecutor& executor) override { note("will", executor); }
  void taskDidLaunch(QRTTaskExecutor& executor) override { note("did", executor); }

  void note(std::string text, const QRTTaskExecutor& executor) {
    for (const int handle : {executor.subTaskInputHandle(), executor.subTaskOutputHandle(),
                             executor.subTaskErrorHandle()}) {
      text += handle < 0 ? " -" : " open";
    }
    events.push_back(text);
  }
};

class TaskExecutor : public testing::Test {
 protected:
  const NativePlatform native;
  test::RecordingLog log;
  QRTTaskExecutor executor{native.facilities().subprocesses, log};
  Witness witness;
};

TEST_F(TaskExecutor, TheDelegateIsToldEachStepInOrder) {
  executor.setDelegate(&witness);
  EXPECT_EQ(
      executor.executeProgramAtPath("/bin/sh", {"-c", "echo x; sleep 0.1; echo y >&2; exit 3"}), 3);
  witness.note("after", executor);
  EXPECT_EQ(executor.executeProgramAtPath("/usr/bin/true", {}), 0);
  EXPECT_EQ(witness.events,
            (Texts{"will open open open", "did open open open", "output:x\n", "error:y\n",
                   "output:", "error:", "after - - -", "will open open open", "did open open open",
                   "output:", "error:"}));
}

TEST_F(TaskExecutor, WithoutADelegateTheOutputIsThisProcesss) {
  EXPECT_EQ(executor.executeProgramAtPath("", {}), -1);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  executor.executeProgramAtPath("/bin/sh", {"-c", "echo out; echo err >&2"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\n");
}

TEST_F(TaskExecutor, AProgramThatCannotBeLaunchedIsAnException) {
  executor.setDelegate(&witness);
  try {
    executor.executeProgramAtPath("/absent/tool", {});
    FAIL() << "nothing was thrown";
  } catch (const OperationException& exception) {
    EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
    EXPECT_STREQ(exception.what(), "Couldn't posix_spawn: error 2");
  }
  witness.note("after", executor);
  EXPECT_EQ(witness.events, (Texts{"will open open open", "after - - -"}));
}

TEST_F(TaskExecutor, OnlyRootCanHavePutASafeProgramThere) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
  struct Place {
    mode_t mode = 0755;
    uid_t owner = 0;
    gid_t group = 0;
  };
  const auto isSafe = [&](const std::string& path) {
    return *QRTTaskExecutor::hasExecutableSafePermissionsAtPath(native.facilities().files, path);
  };
  const test::ScratchFolder scratch;
  const auto folder = scratch.folder("folder"), tool = scratch.file("folder/tool");
  const auto link = scratch.link("link", tool);
  // Whose a link is and where it lies does not matter.
  ASSERT_EQ(lchown(link.c_str(), 1, 1), 0);
  ASSERT_EQ(chmod(scratch.path().c_str(), 0777), 0);
  const auto check = [&](const char* what, Place ofTool, Place ofFolder, bool wanted = false) {
    for (const auto& [path, place] : {std::pair(tool, ofTool), {folder, ofFolder}}) {
      ASSERT_EQ(chown(path.c_str(), place.owner, place.group), 0);
      ASSERT_EQ(chmod(path.c_str(), place.mode), 0);
    }
    EXPECT_EQ(isSafe(tool), wanted) << what;
    EXPECT_EQ(isSafe(link), wanted) << what;
  };
  check("as it should be", {}, {}, true);
  check("for root alone", {0500}, {0700}, true);
  check("set-id and sticky", {06755}, {01755}, true);
  check("written by the group", {0775}, {});
  check("written by others", {0757}, {});
  check("another owner", {0755, 1}, {});
  check("another group", {0755, 0, 1}, {});
  check("folder written by the group", {}, {0775});
  check("folder written by others", {}, {0757});
  check("folder of another", {}, {0755, 1});
  check("folder of another group", {}, {0755, 0, 1});
  scratch.link("dangling", "absent");
  for (const auto& path : {std::string(), folder, scratch.path("dangling"), std::string("/")}) {
    EXPECT_FALSE(isSafe(path)) << path;
  }
}

}  // namespace
}  // namespace qrt
