#include "system/QRTTaskExecutor.h"

#include "operations/OperationException.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

TEST(TaskExecutor, WithoutADelegateTheOutputGoesToThisProcesssStreams) {
  test::RecordingLog log;
  QRTTaskExecutor executor{log};
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(executor.executeProgramAtPath("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"}), 3);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "out\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\n");
  EXPECT_EQ(executor.executeProgramAtPath("", {}), -1);
  EXPECT_THROW(executor.executeProgramAtPath("/absent/tool", {}), OperationException);
}

TEST(TaskExecutor, AProgramIsSafeWhenOnlyRootCanReplaceIt) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
  const NativePlatform native;
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
  } cases[] = {{{}, {}, true},  {{06755}, {01755}, true}, {{0775}, {}}, {{0757}, {}},
               {{0755, 1}, {}}, {{0755, 0, 1}, {}},       {{}, {0775}}, {{}, {0757}},
               {{}, {0755, 1}}, {{}, {0755, 0, 1}}};
  for (const auto& row : cases) {
    for (const auto& [path, rights] : {std::pair(tool, row.ofTool), {folder, row.ofFolder}}) {
      ASSERT_EQ(chown(path.c_str(), rights.owner, rights.group), 0);
      ASSERT_EQ(chmod(path.c_str(), rights.mode), 0);
    }
    EXPECT_EQ(isSafe(tool), row.isSafe) << &row - cases;
    EXPECT_EQ(isSafe(link), row.isSafe) << &row - cases;
  }
  for (const auto& path : {std::string(), folder, scratch.link("dangling", "absent")}) {
    EXPECT_FALSE(isSafe(path)) << path;
  }
}

}  // namespace
}  // namespace qrt
