#include "platform/Volumes.h"

#include <gtest/gtest.h>

#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/files/MountTable.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

TEST(LinuxVolumes, TellWhereAFileSystemIsMounted) {
  const test::ScratchFolder scratch;
  const auto place = scratch.folder("a \\ volume\t\u00e4");
  const test::Mount mount(test::Mount::Kind::memory, place);
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  scratch.folder("a \\ volume\t\u00e4/folder");
  const auto volumes = makeVolumes("");
  for (const auto& path : {place + "/", place + "/folder", scratch.link("link", place)}) {
    const auto point = volumes->mountPoint(path);
    ASSERT_TRUE(point) << path;
    EXPECT_EQ(*point, place) << path;
  }
  EXPECT_NE(*volumes->mountPoint(scratch.path()), scratch.path());
}

TEST(MountTable, LinesThatAreNone) {
  constexpr std::string_view table = "1 2 3:4 / /one rw\n12\n\n5 1 0:1 / /a\\040b\\9\\ rw - x y z";
  EXPECT_EQ(mountPointIn(table, 1), "/one");
  EXPECT_EQ(mountPointIn(table, 5), "/a b\\9\\");
  EXPECT_EQ(mountPointIn(table, 12), "");
  EXPECT_EQ(mountPointIn(table, 2), std::nullopt);
}

}  // namespace
}  // namespace qrt
