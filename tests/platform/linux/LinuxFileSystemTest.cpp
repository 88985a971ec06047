#include "platform/linux/files/LinuxFileSystem.h"

#include "platform/linux/files/InodeFlags.h"
#include "platform/linux/files/ObjectHold.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using file_flag::userAppendOnly;
using file_flag::userImmutable;
using Kind = test::Mount::Kind;

class LinuxFileSystemTest : public testing::Test {
 protected:
  PosixCode setFlags(const std::string& path, std::uint32_t wanted) {
    const auto location = files_.locate(path);
    const auto seen = files_.status(location->at(), Links::stay);
    return seen ? files_.setFlags(location->at(), *seen, wanted) : seen.error();
  }
  std::uint32_t flagsOf(const std::string& path) {
    return files_.status(path.c_str(), Links::stay)->flags;
  }

  test::ScratchFolder scratch_;
  LinuxFileSystem files_;
};

TEST_F(LinuxFileSystemTest, BothWaysToRenameReturnTheSameCodes) {
  const auto folder = scratch_.folder("folder");
  for (const auto& way : {&LinuxFileSystem::rename, &LinuxFileSystem::renameAfterLooking}) {
    const auto rename = [&](const std::string& from, const std::string& to) {
      return (files_.*way)(from.c_str(), to.c_str());
    };
    const auto link = scratch_.link("link", "nowhere");
    EXPECT_EQ(rename(link, folder), PosixCode::exists);
    EXPECT_EQ(rename(link, scratch_.path("new")), PosixCode::success);
    EXPECT_EQ(rename(folder, folder + "/inside"), PosixCode::invalidArgument);
    ASSERT_EQ(unlink(scratch_.path("new").c_str()), 0);
  }
}

PosixCode writeFlagsByDescriptor(FileAt object, inode_flags::Change change) {
  return inode_flags::writeByDescriptor(*holdObject(object, Links::stay), change);
}

PosixCode writeFlagsOfHeld(FileAt object, inode_flags::Change change) {
  return inode_flags::write(*holdObject(object, Links::stay), change);
}

TEST_F(LinuxFileSystemTest, EachWayToSetTheTwoFlagsKeepsOthers) {
  for (const auto kind : {Kind::memory, Kind::ext4, Kind::xfs, Kind::btrfs}) {
    const test::ScratchFolder scratch;
    const test::Mount mount(kind, scratch.path());
    if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and the file system's tools";
    const auto file = scratch.file("file");
    ASSERT_TRUE(test::run({"chattr", "+d", file}));
    const auto before = test::printed("lsattr " + file);
    for (const auto& write :
         {&inode_flags::writeByName, &writeFlagsByDescriptor, &writeFlagsOfHeld}) {
      if (write(file.c_str(), {0, 0}) == PosixCode::notImplemented) continue;  // An older kernel.
      for (const auto wanted :
           {userImmutable, userAppendOnly, userImmutable | userAppendOnly, 0u}) {
        ASSERT_EQ(write(file.c_str(), {flagsOf(file), wanted}), PosixCode::success);
        EXPECT_EQ(flagsOf(file), wanted);
      }
      EXPECT_EQ(test::printed("lsattr " + file), before);
    }
  }
}

TEST_F(LinuxFileSystemTest, AReadOnlyFileSystemRefusesFlagsThatAreSetAlready) {
  const auto root = scratch_.folder("mount");
  const test::Mount mount(Kind::memory, root);
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  scratch_.make("touch mount/file beside; mkfifo mount/fifo");
  const auto held = files_.hold((root + "/file").c_str(), Links::stay);
  ASSERT_TRUE(mount.makeReadOnly());
  for (const auto wanted : {0u, userImmutable}) {
    EXPECT_EQ(setFlags(root + "/file", wanted), PosixCode::readOnlyFileSystem);
    EXPECT_EQ(held->setFlags(*held->status(), wanted), PosixCode::readOnlyFileSystem);
  }
  EXPECT_EQ(setFlags(root + "/fifo", 0), PosixCode::readOnlyFileSystem);
  // The mount point counts, its neighbours do not.
  EXPECT_EQ(setFlags(root, 0), PosixCode::readOnlyFileSystem);
  EXPECT_EQ(setFlags(scratch_.path("beside"), 0), PosixCode::success);
}

TEST_F(LinuxFileSystemTest, AnExchangedObjectGetsNoFlagsOfTheFirst) {
  const auto precious = scratch_.file("precious");
  const auto current = files_.status(precious.c_str(), Links::stay);
  scratch_.make("ln -s precious nowLink; mkfifo nowFifo");
  for (const auto* name : {"nowLink", "nowFifo"}) {
    const auto path = scratch_.path(name);
    EXPECT_EQ(files_.setFlags(path.c_str(), *current, userImmutable), PosixCode::notSupported);
    EXPECT_EQ(writeFlagsByDescriptor(path.c_str(), {0, userImmutable}), PosixCode::notSupported);
  }
  EXPECT_EQ(flagsOf(precious), 0u);

  // A file in the place of another gets the flag that was to change and no other.
  const auto log = scratch_.file("log");
  if (!scratch_.changeFlags("log", "+a")) GTEST_SKIP() << "needs the right to set flags";
  EXPECT_EQ(files_.setFlags(log.c_str(), *current, userImmutable), PosixCode::success);
  EXPECT_EQ(flagsOf(log), userImmutable | userAppendOnly);
}

}  // namespace
}  // namespace qrt
