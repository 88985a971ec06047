#include <ctime>

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
  const auto file = scratch_.file("volume/file"), plain = scratch_.file("volume/plain");
  const auto link = scratch_.link("link", file);
  const std::uint32_t type = 0x54595045, creator = 0xFF000001;
  const auto record = [&](const std::string& path) {
    return scratch_.printedBy("record '" + path + "' 2>/dev/null");
  };
  EXPECT_EQ(perform("ModifyHfsattr", {link, type, creator, 1}), success);
  EXPECT_EQ(record(file), "54595045ff00000140" + std::string(46, '0') + "\n");

  // The last byte and two bits are somebody else's.
  scratch_.make("setrecord 54595045ff0000014a" + std::string(44, '0') + "07 volume/file");
  EXPECT_EQ(perform("ModifyHfsattr", {file, 0, 0, 0}), success);
  EXPECT_EQ(record(file), std::string(16, '0') + "0a" + std::string(44, '0') + "07\n");
  EXPECT_EQ(perform("ModifyHfsattr", {plain, 0, 0, 0}), success);
  EXPECT_EQ(record(plain), "");

  EXPECT_EQ(perform("ModifyHfsattr", {scratch_.path("missing"), type, creator, 1})->code, 4);
}

class ProtectionTest : public test::OperationFixture {
 protected:
  void SetUp() override {
    scratch_.file("probe");
    if (!scratch_.changeFlags("probe", "+i")) GTEST_SKIP() << "needs the right to set flags";
  }
  ~ProtectionTest() override {
    // Of everything that a test may have protected, mounted volumes included.
    scratch_.make("unflag .");
  }

  Outcome protect(const std::string& path, bool value, bool recursive = false,
                  bool stayOnFileSystem = false) {
    return perform("ModifyProtection", {path, value, recursive, stayOnFileSystem});
  }
  bool isImmutable(const std::string& name) {
    const auto status = platform_.files.status(scratch_.path(name).c_str(), Links::stay);
    return (status->flags & file_flag::userImmutable) != 0;
  }
};

TEST_F(ProtectionTest, ChangesOneObjectOrAllBelowItUntilTheFirstFailure) {
  scratch_.make("mkdir folder; mkfifo folder/fifo; ln -s folder link; ln -s nowhere dangling");
  EXPECT_EQ(protect(scratch_.path("link"), true), success);
  EXPECT_TRUE(isImmutable("folder"));
  EXPECT_EQ(protect(scratch_.path("folder"), true, true), posixError(PosixCode::notSupported));
  EXPECT_EQ(protect(scratch_.path("folder"), false, true), success);
  EXPECT_FALSE(isImmutable("folder"));

  EXPECT_EQ(protect(scratch_.path("dangling"), true, true), posixError(PosixCode::noEntry));
  EXPECT_EQ(protect("/dev/null", true), posixError(PosixCode::notSupported));
  EXPECT_EQ(protect("/dev/null", false), success);
}

TEST_F(ProtectionTest, CanStayOnOneFileSystem) {
  scratch_.make("mkdir -p tree/volume; touch tree/file");
  const Mount mount(Mount::Kind::ext4, scratch_.path("tree/volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  scratch_.file("tree/volume/file");
  const auto tree = scratch_.path("tree");
  EXPECT_EQ(protect(tree, true, true, true), success);
  EXPECT_TRUE(isImmutable("tree/file"));
  EXPECT_FALSE(isImmutable("tree/volume") || isImmutable("tree/volume/file"));
  for (const bool value : {true, false}) {
    EXPECT_EQ(protect(tree, value, true, false), success);
    EXPECT_EQ(isImmutable("tree/volume/file"), value);
  }
  for (const auto& path : {scratch_.path("missing"), std::string()}) {
    EXPECT_EQ(AdvancedOpsAdditions::fileSystemIDForPath(platform_.files, path), 0xFFFFFFFFu);
  }
}

}  // namespace
}  // namespace qrt
