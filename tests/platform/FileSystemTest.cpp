#include "platform/FileSystem.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "platform/NativeFileSystem.h"
#include "support/DeviceNumbers.h"
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

TEST_F(FileSystemTest, StatusHasTheTypeOfEveryKindOfObject) {
  const auto at = [this](const char* name) { return scratch_.path(name); };
  scratch_.folder("folder");
  scratch_.file("file");
  scratch_.link("link", "folder");
  ASSERT_EQ(mkfifo(at("fifo").c_str(), 0600), 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  at("socket").copy(address.sun_path, sizeof address.sun_path - 1);
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

  EXPECT_EQ(statusOf(at("folder")).type(), file_type::folder);
  EXPECT_EQ(statusOf(at("file")).type(), file_type::regular);
  EXPECT_EQ(statusOf(at("link")).type(), file_type::link);
  EXPECT_EQ(statusOf(at("link"), Links::follow).type(), file_type::folder);
  EXPECT_EQ(statusOf(at("fifo")).type(), file_type::fifo);
  EXPECT_EQ(statusOf(at("socket")).type(), file_type::socket);
  EXPECT_EQ(statusOf("/dev/null").type(), file_type::characterDevice);
}

TEST_F(FileSystemTest, TheDevice0And0IsAWhiteout) {
  const auto path = scratch_.path("whiteout");
  if (mknod(path.c_str(), S_IFCHR | 0640, makedev(0, 0)) != 0) GTEST_SKIP() << "needs mknod";
  EXPECT_EQ(statusOf(path).mode, file_type::whiteout | 0640u);
}

TEST_F(FileSystemTest, StatusHasTheNumbersOfTheObject) {
  const auto path = scratch_.file("file", "12345");
  ASSERT_EQ(chmod(path.c_str(), 04751), 0);
  const timespec times[2] = {{1, 0}, {1'234'567'890, 250'000'000}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  struct stat expected;
  ASSERT_EQ(stat(path.c_str(), &expected), 0);

  const auto status = statusOf(path);
  EXPECT_EQ(status.mode, file_type::regular | 04751u);
  EXPECT_EQ(status.size, 5u);
  EXPECT_EQ(status.linkCount, 1u);
  EXPECT_EQ(status.userID, expected.st_uid);
  EXPECT_EQ(status.device, expected.st_dev);
  EXPECT_EQ(status.inode, expected.st_ino);
  EXPECT_DOUBLE_EQ(status.modificationDate.secondsSince1970, 1'234'567'890.25);
}

TEST_F(FileSystemTest, OpensFoldersAndNothingElse) {
  scratch_.folder("folder");
  scratch_.link("link", "folder");
  scratch_.file("file");
  ASSERT_EQ(mkfifo(scratch_.path("fifo").c_str(), 0600), 0);
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

TEST_F(FileSystemTest, RunningOutOfDescriptorsIsSaidSo) {
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const auto folder = files_->openFolder("/", Links::follow);
  const auto location = files_->locate("/etc");
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(folder.error(), PosixCode::tooManyFiles);
  EXPECT_EQ(location.error(), PosixCode::tooManyFiles);
  EXPECT_TRUE(isExhaustion(folder.error()));
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

TEST_F(FileSystemTest, RemovesWhatItIsTold) {
  scratch_.folder("full");
  scratch_.file("full/file");
  scratch_.link("link", "full");
  const auto remove = [this](const char* name, bool folder) {
    const auto location = files_->locate(scratch_.path(name));
    return folder ? files_->removeFolder(location->at()) : files_->removeFile(location->at());
  };
  EXPECT_EQ(remove("full", true), PosixCode::notEmpty);
  EXPECT_EQ(remove("link", true), PosixCode::notDirectory);
  EXPECT_EQ(remove("link", false), PosixCode::success);
  EXPECT_EQ(remove("full/file", false), PosixCode::success);
  EXPECT_EQ(remove("full", true), PosixCode::success);
  EXPECT_EQ(remove("full", true), PosixCode::noEntry);
}

TEST_F(FileSystemTest, ReadsBoundedRegularFiles) {
  scratch_.file("file", "12345");
  scratch_.link("link", "file");
  scratch_.folder("folder");
  ASSERT_EQ(mkfifo(scratch_.path("fifo").c_str(), 0600), 0);
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
