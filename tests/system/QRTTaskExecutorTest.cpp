#include "system/QRTTaskExecutor.h"

#include "operations/OperationException.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Texts = std::vector<std::string>;

struct RecordingDelegate : QRTTaskExecutorDelegate {
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
  QRTTaskExecutor executor{log};
  RecordingDelegate delegate;
};

TEST_F(TaskExecutor, TheDelegateGetsEachStepInOrder) {
  executor.setDelegate(&delegate);
  EXPECT_EQ(
      executor.executeProgramAtPath("/bin/sh", {"-c", "echo x; sleep 0.1; echo y >&2; exit 3"}), 3);
  delegate.note("after", executor);
  try {
    executor.executeProgramAtPath("/absent/tool", {});
    FAIL() << "nothing was thrown";
  } catch (const OperationException& exception) {
    EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
    EXPECT_STREQ(exception.what(), "Couldn't posix_spawn: error 2");
  }
  delegate.note("after", executor);
  EXPECT_EQ(delegate.events,
            (Texts{"will open open open", "did open open open", "output:x\n", "error:y\n",
                   "output:", "error:", "after - - -", "will open open open", "after - - -"}));
}

TEST_F(TaskExecutor, WithoutADelegateTheOutputGoesToThisProcesssStreams) {
  EXPECT_EQ(executor.executeProgramAtPath("", {}), -1);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  executor.executeProgramAtPath("/bin/sh", {"-c", "echo out; echo err >&2"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\n");
}

TEST_F(TaskExecutor, AProgramIsSafeWhenOnlyRootCanReplaceIt) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
  const auto isSafe = [&](const std::string& path) {
    return *QRTTaskExecutor::hasExecutableSafePermissionsAtPath(native.facilities().files, path);
  };
  const test::ScratchFolder scratch;
  const auto folder = scratch.folder("folder"), tool = scratch.file("folder/tool");
  const auto link = scratch.link("link", tool);
  // Owner and folder of a link do not matter.
  ASSERT_EQ(lchown(link.c_str(), 1, 1), 0);
  ASSERT_EQ(chmod(scratch.path().c_str(), 0777), 0);
  struct Rights {
    mode_t mode = 0755;
    uid_t owner = 0;
    gid_t group = 0;
  };
  const struct {
    Rights ofTool, ofFolder;
    bool isSafe = false;
  } cases[] = {{{}, {}, true}, {{0500}, {0700}, true}, {{06755}, {01755}, true}, {{0775}, {}},
               {{0757}, {}},   {{0755, 1}, {}},        {{0755, 0, 1}, {}},       {{}, {0775}},
               {{}, {0757}},   {{}, {0755, 1}},        {{}, {0755, 0, 1}}};
  for (const auto& row : cases) {
    for (const auto& [path, rights] : {std::pair(tool, row.ofTool), {folder, row.ofFolder}}) {
      ASSERT_EQ(chown(path.c_str(), rights.owner, rights.group), 0);
      ASSERT_EQ(chmod(path.c_str(), rights.mode), 0);
    }
    EXPECT_EQ(isSafe(tool), row.isSafe) << &row - cases;
    EXPECT_EQ(isSafe(link), row.isSafe) << &row - cases;
  }
  scratch.link("dangling", "absent");
  for (const auto& path : {std::string(), folder, scratch.path("dangling"), std::string("/")}) {
    EXPECT_FALSE(isSafe(path)) << path;
  }
}

}  // namespace
}  // namespace qrt
