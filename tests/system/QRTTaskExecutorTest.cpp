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
  const struct {
    mode_t mode, folderMode;
    uid_t owner = 0, folderOwner = 0;
    gid_t group = 0, folderGroup = 0;
  } cases[] = {{06755, 01755},        {0755, 0755},
               {0775, 0755},          {0757, 0755},
               {0755, 0775},          {0755, 0757},
               {0755, 0755, 1, 0},    {0755, 0755, 0, 1},
               {0755, 0755, 0, 0, 1}, {0755, 0755, 0, 0, 0, 1}};
  for (const auto& row : cases) {
    ASSERT_EQ(chown(tool.c_str(), row.owner, row.group), 0);
    ASSERT_EQ(chown(folder.c_str(), row.folderOwner, row.folderGroup), 0);
    ASSERT_EQ(chmod(tool.c_str(), row.mode) + chmod(folder.c_str(), row.folderMode), 0);
    const auto number = &row - cases;
    EXPECT_EQ(isSafe(tool), number < 2) << number;
    EXPECT_EQ(isSafe(link), number < 2) << number;
  }
  for (const auto& path : {std::string(), folder, scratch.link("dangling", "absent")}) {
    EXPECT_FALSE(isSafe(path)) << path;
  }
}

}  // namespace
}  // namespace qrt
