#include "platform/FileSystem.h"

#include "platform/NativeFileSystem.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

class FileSystemTest : public testing::Test {
 protected:
  FileStatus statusOf(const std::string& path, Links links = Links::stay) {
    const auto status = files_->status(path.c_str(), links);
    EXPECT_TRUE(status) << path;
    return status ? *status : FileStatus();
  }

  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

TEST_F(FileSystemTest, OpensFoldersAndNothingElse) {
  scratch_.make("mkdir folder; ln -s folder link; touch file; mkfifo fifo");
  struct Case {
    const char* name;
    Links links;
    PosixCode code;
  };
  for (const auto& c : {Case{"folder", Links::stay, PosixCode::success},
                        Case{"link", Links::follow, PosixCode::success},
                        Case{"link", Links::stay, PosixCode::notDirectory},
                        Case{"file", Links::follow, PosixCode::notDirectory},
                        Case{"fifo", Links::stay, PosixCode::notDirectory},
                        Case{"missing", Links::stay, PosixCode::noEntry}}) {
    const auto folder = files_->openFolder(scratch_.path(c.name).c_str(), c.links);
    EXPECT_EQ(folder ? PosixCode::success : folder.error(), c.code) << c.name;
  }
}

TEST_F(FileSystemTest, LocatesAnObjectByItsFolder) {
  const auto folder = scratch_.folder("folder");
  scratch_.link("link", "folder");
  struct Case {
    std::string path;
    std::string parent;
    std::string name;
  };
  for (const auto& c :
       {Case{folder, scratch_.path(), "folder"}, Case{folder + "//", scratch_.path(), "folder"},
        Case{scratch_.path("link/"), scratch_.path(), "link"},
        Case{scratch_.path("link/new"), folder, "new"}, Case{"/", "/", "."}, Case{"//", "/", "."},
        Case{"/etc", "/", "etc"}, Case{"plain", ".", "plain"}, Case{folder + "/.", folder, "."},
        Case{folder + "/..", scratch_.path(), "."}}) {
    const auto location = files_->locate(c.path);
    ASSERT_TRUE(location) << c.path;
    EXPECT_EQ(location->name, c.name) << c.path;
    EXPECT_EQ(files_->status({location->parent, "."}, Links::stay)->inode, statusOf(c.parent).inode)
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

TEST_F(FileSystemTest, ReadsBoundedRegularFiles) {
  scratch_.make("printf '12345' > file; ln -s file link; mkdir folder; mkfifo fifo");
  const auto read = [this](const char* name, std::size_t limit) {
    return files_->readFile(scratch_.path(name).c_str(), limit);
  };
  EXPECT_EQ(*read("link", 5), (Data{'1', '2', '3', '4', '5'}));
  EXPECT_EQ(read("file", 4).error(), PosixCode::noSpace);
  EXPECT_EQ(read("folder", 5).error(), PosixCode::invalidArgument);
  EXPECT_EQ(read("fifo", 5).error(), PosixCode::invalidArgument);
  EXPECT_EQ(read("missing", 5).error(), PosixCode::noEntry);
}

}  // namespace
}  // namespace qrt
