#include "platform/linux/LinuxKernelSettings.h"

#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::contentsOf;
using test::plant;

class LinuxKernelSettingsTest : public testing::Test {
 protected:
  const test::ScratchFolder root;
  LinuxKernelSettings settings{root.path()};
};

TEST_F(LinuxKernelSettingsTest, DotsSeparateAndSlashesAreDots) {
  EXPECT_EQ(settings.write("kernel.limit", 1), PosixCode::noEntry) << "there are no settings";
  const auto limit = plant(root, "proc/sys/kernel/limit");
  const auto dotted = plant(root, "proc/sys/net/conf/eth0.1/forwarding");
  EXPECT_EQ(settings.write("kernel.limit", INT64_MIN), PosixCode::success);
  EXPECT_EQ(settings.write("net.conf.eth0/1.forwarding", INT64_MAX), PosixCode::success);
  EXPECT_EQ(contentsOf(limit), "-9223372036854775808");
  EXPECT_EQ(contentsOf(dotted), "9223372036854775807");
}

TEST_F(LinuxKernelSettingsTest, NothingOutsideIsReached) {
  const auto outside = plant(root, "proc/outside");
  plant(root, "proc/sys/kernel/limit");
  root.link("proc/sys/folderlink", root.path("proc"));
  root.link("proc/sys/filelink", outside);
  for (const auto* name : {"", "..", "//.outside", "/", "outside.", "kernel..limit", "absent",
                           "kernel.//.limit", "kernel///outside"}) {
    EXPECT_EQ(settings.write(name, 1), PosixCode::noEntry) << name;
  }
  EXPECT_EQ(settings.write(std::string("kernel.limit\0x", 14), 1), PosixCode::noEntry);
  EXPECT_EQ(settings.write("filelink", 1), PosixCode::tooManyLinks);
  EXPECT_EQ(settings.write("folderlink.outside", 1), PosixCode::notDirectory);
  EXPECT_EQ(settings.write("kernel", 1), PosixCode::isDirectory);
  EXPECT_EQ(contentsOf(outside), "");
}

TEST(RealKernelSettings, RefuseWhatTheKernelRefuses) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  LinuxKernelSettings settings("/");
  EXPECT_EQ(settings.write("vm.swappiness", 1'000'000), PosixCode::invalidArgument);
  EXPECT_EQ(settings.write("kernel.osrelease", 1), PosixCode::permissionDenied);
}

}  // namespace
}  // namespace qrt
