#include "platform/Volumes.h"

#include <gtest/gtest.h>

#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/ProcessFiles.h"
#include "platform/linux/files/MountTable.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

TEST(LinuxVolumes, FindsTheMountPointOfAPath) {
  const test::ScratchFolder scratch;
  const auto place = scratch.folder("a \\ volume\t\u00e4");
  const test::Mount mount(test::Mount::Kind::memory, place);
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  const auto volumes = makeVolumes("");
  EXPECT_EQ(*volumes->mountPoint(scratch.link("link", place)), place);
  EXPECT_EQ(volumes->mountPoint(std::string("/\0x", 3)).error(), PosixCode::noEntry);
}

TEST(ProcessFiles, CommandNamesMayHoldAnything) {
  EXPECT_EQ(commandNameInStat("1 (a) R 2 (\n)) S 0 1"), "a) R 2 (\n)");
  for (const char* damaged : {"", "1 (init", "1 )init(", "1 init) S"}) {
    EXPECT_EQ(commandNameInStat(damaged), std::nullopt) << damaged;
    EXPECT_EQ(startTimeInStat(damaged), std::nullopt) << damaged;
  }
  EXPECT_EQ(effectiveUserInStatus("Name:\t\\nUid:\t9\t9\nUid:\t1\t4294967295\t3\t4"), 4294967295u);
  for (const char* damaged : {"Name:\tx\n", "\nUid:\t1", "\nUid:\t1\t99999999999\t3"}) {
    EXPECT_EQ(effectiveUserInStatus(damaged), std::nullopt) << damaged;
  }
}

}  // namespace
}  // namespace qrt
