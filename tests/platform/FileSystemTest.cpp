#include "platform/FileSystem.h"

#include "platform/NativeFileSystem.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

class FileSystemTest : public testing::Test {
 protected:
  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

TEST_F(FileSystemTest, LocatesAnObjectByItsFolder) {
  const auto folder = scratch_.folder("folder");
  scratch_.link("link", "folder");
  const struct {
    std::string path, parent, name;
  } cases[] = {{folder + "//", scratch_.path(), "folder"},
               {scratch_.path("link/"), scratch_.path(), "link"},
               {scratch_.path("link/new"), folder, "new"},
               {"//", "/", "."},
               {"/etc", "/", "etc"},
               {"plain", ".", "plain"},
               {folder + "/.", folder, "."},
               {folder + "/..", scratch_.path(), "."}};
  for (const auto& c : cases) {
    const auto location = files_->locate(c.path);
    ASSERT_TRUE(location) << c.path;
    EXPECT_EQ(location->name, c.name) << c.path;
    EXPECT_EQ(files_->status({location->parent, "."}, Links::stay)->inode,
              test::statusOf(c.parent).st_ino)
        << c.path;
  }
  EXPECT_EQ(files_->locate(scratch_.path("missing/x")).error(), PosixCode::noEntry);
  EXPECT_EQ(files_->locate("").error(), PosixCode::noEntry);
  EXPECT_EQ(files_->locate(std::string("/etc\0x", 6)).error(), PosixCode::noEntry);
}

TEST_F(FileSystemTest, EntriesMayBeRemovedWhileTheyAreRead) {
  constexpr int count = 3000;  // Several buffers full.
  const std::string padding(60, 'x');
  for (int i = 0; i < count; ++i) scratch_.file(padding + std::to_string(i));
  auto folder = std::move(*files_->openFolder(scratch_.path().c_str(), Links::stay));
  int seen = 0;
  for (auto entry = folder.next(); entry && *entry; entry = folder.next(), ++seen) {
    EXPECT_EQ(files_->removeFile({folder, (*entry)->name}), PosixCode::success);
  }
  EXPECT_EQ(seen, count);
}

TEST_F(FileSystemTest, ReadingAFolderFailsWithTheReason) {
  EXPECT_FALSE(files_->locate(scratch_.path("x"))->parent.next());  // Only a base.
  auto folder = std::move(*files_->openFolder(scratch_.folder("gone").c_str(), Links::stay));
  ASSERT_EQ(rmdir(scratch_.path("gone").c_str()), 0);
  EXPECT_EQ(folder.next().error(), PosixCode::noEntry);
}

TEST_F(FileSystemTest, ReadsWhatALinkLeadsTo) {
  scratch_.make("printf 12 > file; ln -s file link");
  EXPECT_EQ(*files_->readFile(scratch_.path("link").c_str(), 2), (Data{'1', '2'}));
  EXPECT_EQ(files_->readFile(scratch_.path("missing").c_str(), 2).error(), PosixCode::noEntry);
}

}  // namespace
}  // namespace qrt
