#include <linux/fs.h>
#include <sys/ioctl.h>

#include "platform/NativeFileSystem.h"
#include "platform/linux/InodeFlags.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using file_flag::userAppendOnly;
using file_flag::userImmutable;

unsigned inodeFlagsOf(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY));
  unsigned flags = 0;
  EXPECT_EQ(ioctl(file.get(), FS_IOC_GETFLAGS, &flags), 0) << path;
  return flags;
}

class FileFlagsTest : public testing::Test {
 protected:
  PosixCode set(const std::string& path, std::uint32_t wanted, Links links = Links::stay) {
    const auto location = files_->locate(path);
    const auto current = files_->status(location->at(), links);
    if (!current) return current.error();
    return files_->setFlags(location->at(), links, *current, wanted);
  }
  std::uint32_t flagsOf(const std::string& path) {
    return files_->status(path.c_str(), Links::stay)->flags;
  }

  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

using Kind = test::Mount::Kind;

class FlaggedFileSystems : public FileFlagsTest, public testing::WithParamInterface<Kind> {};

TEST_P(FlaggedFileSystems, SetClearAndKeepTheOtherFlags) {
  const auto root = scratch_.folder("mount");
  const test::Mount mount(GetParam(), root);
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and the file system's tools";
  const auto file = scratch_.file("mount/file");
  const auto folder = scratch_.folder("mount/folder");
  ASSERT_TRUE(test::run({"chattr", "+d", file}));
  const auto before = inodeFlagsOf(file);
  ASSERT_NE(before & FS_NODUMP_FL, 0u);

  using Write = PosixCode (*)(FileAt, std::uint32_t);
  const Write byDescriptor = [](FileAt object, std::uint32_t wanted) {
    return inode_flags::writeByDescriptor(object, Links::stay, wanted);
  };
  for (const Write write : {&inode_flags::writeByName, byDescriptor}) {
    if (write(file.c_str(), 0) == PosixCode::notImplemented) continue;  // An older kernel.
    for (const auto wanted : {userImmutable, userAppendOnly, userImmutable | userAppendOnly, 0u}) {
      ASSERT_EQ(write(file.c_str(), wanted), PosixCode::success);
      EXPECT_EQ(flagsOf(file), wanted);
      ASSERT_EQ(write(folder.c_str(), wanted), PosixCode::success);
      EXPECT_EQ(flagsOf(folder), wanted);
    }
    EXPECT_EQ(inodeFlagsOf(file), before);
  }

  EXPECT_EQ(set(file, userImmutable), PosixCode::success);
  EXPECT_EQ(unlink(file.c_str()), -1);
  EXPECT_EQ(set(file, 0), PosixCode::success);
}

INSTANTIATE_TEST_SUITE_P(All, FlaggedFileSystems,
                         testing::Values(Kind::memory, Kind::ext4, Kind::xfs, Kind::btrfs));

TEST_F(FileFlagsTest, WhatCannotHaveFlagsCanOnlyBeCleared) {
  scratch_.make("ln -s nowhere link; mkfifo fifo; mkdir mount");
  const test::Mount mount(Kind::plainMemory, scratch_.path("mount"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  const auto onPlainMemory = scratch_.file("mount/file");
  for (const auto& path :
       {scratch_.path("link"), scratch_.path("fifo"), std::string("/dev/null"), onPlainMemory}) {
    EXPECT_EQ(set(path, 0), PosixCode::success) << path;
    EXPECT_EQ(set(path, userImmutable), PosixCode::notSupported) << path;
  }
  EXPECT_EQ(set(scratch_.file("file"), file_flag::systemImmutable), PosixCode::notSupported);
  EXPECT_EQ(inode_flags::writeByDescriptor(onPlainMemory.c_str(), Links::stay, userImmutable),
            PosixCode::notSupported);
}

TEST_F(FileFlagsTest, AReadOnlyFileSystemRefusesEvenWhatNeedsNoChange) {
  const auto root = scratch_.folder("mount");
  const test::Mount mount(Kind::memory, root);
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  const auto file = scratch_.file("mount/file");
  scratch_.make("mkfifo mount/fifo; ln -s mount/file link");
  EXPECT_EQ(set(file, 0), PosixCode::success);
  ASSERT_TRUE(mount.makeReadOnly());

  for (const auto wanted : {0u, userImmutable}) {
    EXPECT_EQ(set(file, wanted), PosixCode::readOnlyFileSystem);
    EXPECT_EQ(set(scratch_.path("link"), wanted, Links::follow), PosixCode::readOnlyFileSystem);
  }
  EXPECT_EQ(set(scratch_.path("mount/fifo"), 0), PosixCode::readOnlyFileSystem);
  // The folder that something is mounted on shows what is mounted; its neighbours are not
  // concerned.
  EXPECT_EQ(set(root, 0), PosixCode::readOnlyFileSystem);
  EXPECT_EQ(set(scratch_.file("beside"), 0), PosixCode::success);
}

TEST_F(FileFlagsTest, AnObjectThatWasExchangedMeanwhileIsLeftAlone) {
  const auto precious = scratch_.file("precious");
  const auto current = files_->status(precious.c_str(), Links::stay);
  scratch_.make("ln -s precious nowLink; mkfifo nowFifo");
  for (const auto* name : {"nowLink", "nowFifo"}) {
    const auto path = scratch_.path(name);
    EXPECT_EQ(files_->setFlags(path.c_str(), Links::stay, *current, userImmutable),
              PosixCode::notSupported);
    EXPECT_EQ(inode_flags::writeByDescriptor(path.c_str(), Links::stay, userImmutable),
              PosixCode::notSupported);
  }
  EXPECT_EQ(flagsOf(precious), 0u);
}

}  // namespace
}  // namespace qrt
