#include "filesystem/OperationFixture.h"
#include "filesystem/objects/AdvancedOpsAdditions.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using test::Mount;
using test::statusOf;

using FileObjectOperationsTest = test::OperationFixture;

TEST_F(FileObjectOperationsTest, CreatedObjectsBelongToRootAndHaveTheirExactMode) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  ASSERT_EQ(chown(scratch_.path().c_str(), 1000, 1000), 0);
  ASSERT_EQ(chmod(scratch_.path().c_str(), 02777), 0);
  for (const mode_t mask : {0000, 0777}) {
    for (const auto& [code, mode] :
         {std::pair("F", S_IFREG | 0644u), {"X", S_IFREG | 0755u}, {"D", S_IFDIR | 0755u}}) {
      const auto path = scratch_.path(code + std::to_string(mask));
      const auto before = umask(mask);
      EXPECT_EQ(perform("CreateFileobject", {path, code}), success);
      EXPECT_EQ(umask(before), mask);
      const auto status = statusOf(path);
      EXPECT_EQ(std::tuple(status.st_mode, status.st_uid, status.st_gid), std::tuple(mode, 0u, 0u));
      EXPECT_TRUE(S_ISDIR(status.st_mode) || status.st_size == 0);
    }
  }
}

TEST_F(FileObjectOperationsTest, ClassicAttributesAreTheRecordThatOthersRead) {
  const Mount mount(Mount::Kind::ext4, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  const auto file = scratch_.file("volume/file");
  // The last byte and two bits are somebody else's.
  scratch_.make("setrecord 54595045ff0000014a" + std::string(44, '0') + "07 volume/file");
  EXPECT_EQ(perform("ModifyHfsattr", {scratch_.link("link", file), 0, 0x41, 0}), success);
  EXPECT_EQ(scratch_.printedBy("record volume/file"),
            "00000000000000410a" + std::string(44, '0') + "07\n");
}

using ProtectionTest = test::OperationFixture;

TEST_F(ProtectionTest, CanStayOnOneFileSystem) {
  scratch_.make("mkdir -p tree/volume; touch tree/file");
  const auto tree = scratch_.path("tree");
  if (!scratch_.changeFlags("tree/file", "-i")) GTEST_SKIP() << "needs the right to set flags";
  const Mount mount(Mount::Kind::ext4, tree + "/volume");
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  scratch_.file("tree/volume/file");
  const auto isImmutable = [&](const std::string& name) {
    const auto status = platform_.files.status((tree + name).c_str(), Links::stay);
    return (status->flags & file_flag::userImmutable) != 0;
  };
  EXPECT_EQ(perform("ModifyProtection", {tree, true, true, true}), success);
  EXPECT_TRUE(isImmutable("/file"));
  EXPECT_FALSE(isImmutable("/volume") || isImmutable("/volume/file"));
  for (const bool value : {true, false}) {
    EXPECT_EQ(perform("ModifyProtection", {tree, value, true, false}), success);
    EXPECT_EQ(isImmutable("/volume/file"), value);
  }
  EXPECT_EQ(AdvancedOpsAdditions::fileSystemIDForPath(platform_.files, ""), 0xFFFFFFFFu);
}

}  // namespace
}  // namespace qrt
