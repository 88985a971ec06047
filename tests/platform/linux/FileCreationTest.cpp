#include "platform/linux/LinuxFileSystem.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

class FileCreationTest : public testing::Test {
 protected:
  test::ScratchFolder scratch_;
  LinuxFileSystem files_;
};

TEST_F(FileCreationTest, ANameThatIsTakenStaysAsItIs) {
  scratch_.make("mkdir folder; touch file; ln -s nowhere dangling; ln -s folder link; mkfifo fifo");
  const auto model = scratch_.path("fifo");
  for (const char* name : {"folder", "file", "dangling", "link"}) {
    const auto path = scratch_.path(name);
    const auto before = test::statusOf(path).st_ino;
    EXPECT_EQ(files_.createFile(path.c_str(), 0600).error(), PosixCode::exists);
    EXPECT_EQ(files_.createFolder(path.c_str(), 0700).error(), PosixCode::exists);
    EXPECT_EQ(files_.createLink(path.c_str(), "x"), PosixCode::exists);
    EXPECT_EQ(files_.createHardLink(path.c_str(), model.c_str()), PosixCode::exists);
    EXPECT_EQ(files_.createSpecialFile(path.c_str(), model.c_str()), PosixCode::exists);
    EXPECT_EQ(files_.rename(model.c_str(), path.c_str()), PosixCode::exists);
    EXPECT_EQ(files_.renameAfterLooking(model.c_str(), path.c_str()), PosixCode::exists);
    EXPECT_EQ(test::statusOf(path).st_ino, before);
  }
  EXPECT_FALSE(test::exists(scratch_.path("nowhere")));
}

TEST_F(FileCreationTest, BothWaysToRenameGiveTheSameAnswers) {
  const auto folder = scratch_.folder("folder");
  const auto rename = [&](bool newer, const std::string& from, const std::string& to) {
    return newer ? files_.rename(from.c_str(), to.c_str())
                 : files_.renameAfterLooking(from.c_str(), to.c_str());
  };
  for (const bool newer : {true, false}) {
    const auto link = scratch_.link(newer ? "newer" : "older", "nowhere");
    EXPECT_EQ(rename(newer, link, link + "2"), PosixCode::success);
    EXPECT_EQ(rename(newer, link, link + "3"), PosixCode::noEntry);
    EXPECT_EQ(rename(newer, folder, folder + "/inside"), PosixCode::invalidArgument);
    EXPECT_EQ(rename(newer, folder, scratch_.path("no/where")), PosixCode::noEntry);
    EXPECT_EQ(rename(newer, folder, "/proc/folder"), PosixCode::crossDevice);
  }
}

TEST_F(FileCreationTest, LinksTellLongTargetsAndPathsAreResolved) {
  const std::string target(4000, 't');
  EXPECT_EQ(*files_.linkTarget(scratch_.link("long", target).c_str()), target);
  EXPECT_EQ(files_.linkTarget(scratch_.file("file").c_str()).error(), PosixCode::invalidArgument);

  EXPECT_EQ(files_.readFile("/proc/self/mem", 5).error(), PosixCode::inputOutput);
  const auto folder = *files_.resolvedPath(scratch_.folder("folder"));
  scratch_.link("link", "folder");
  EXPECT_EQ(*files_.resolvedPath(scratch_.path("link/../link/.")), folder);
  EXPECT_EQ(files_.resolvedPath(scratch_.link("loop", "loop")).error(), PosixCode::tooManyLinks);
  EXPECT_EQ(files_.resolvedPath(scratch_.path("missing")).error(), PosixCode::noEntry);
  EXPECT_EQ(files_.resolvedPath(std::string("/tmp\0x", 6)).error(), PosixCode::noEntry);
}

TEST_F(FileCreationTest, PermissionsAndOwnersOfLinksAreTheirOwn) {
  const auto file = scratch_.file("file");
  const auto link = scratch_.link("link", "file");
  EXPECT_EQ(files_.setPermissions(link.c_str(), Links::stay, 0600), PosixCode::notSupported);
  EXPECT_EQ(test::statusOf(file).st_mode, S_IFREG | 0644u);
  EXPECT_EQ(files_.setOwner(link.c_str(), Links::stay, 12, 34), PosixCode::success);
  EXPECT_EQ(test::statusOf(file).st_uid, geteuid());
  EXPECT_EQ(test::statusOf(link).st_uid, 12u);
  EXPECT_EQ(files_.setPermissions(link.c_str(), Links::follow, 0600), PosixCode::success);
  EXPECT_EQ(test::statusOf(file).st_mode, S_IFREG | 0600u);
}

}  // namespace
}  // namespace qrt
