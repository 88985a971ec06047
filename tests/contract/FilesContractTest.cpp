#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <map>

#include "contract/ContractTest.h"
#include "platform/FileSystem.h"

namespace qrt {
namespace {

class FilesContract : public test::ContractTest {
 protected:
  PosixResult<FileStatus> statusOf(const std::string& path, Links links = Links::stay) const {
    return files().status(path.c_str(), links);
  }
  FileSystem& files() const { return platform().files; }

  std::string fifoAt(std::string_view name) const {
    EXPECT_EQ(mkfifo(scratch_.path(name).c_str(), 0644), 0);
    return scratch_.path(name);
  }
  std::string socketAt(std::string_view name) const {
    const auto path = scratch_.path(name);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    EXPECT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return path;
  }
};

TEST_F(FilesContract, AFolderListsItsEntriesAgainAfterARewind) {
  scratch_.make("touch a; mkdir b; ln -s b c");
  auto folder = files().openFolder(scratch_.path().c_str(), Links::stay);
  ASSERT_TRUE(folder);
  for (int pass = 0; pass < 2; ++pass, folder->rewind()) {
    std::map<std::string, std::uint32_t> seen;
    for (auto entry = folder->next(); *entry; entry = folder->next()) {
      seen[(*entry)->name] = (*entry)->type;
    }
    EXPECT_EQ(seen,
              (std::map<std::string, std::uint32_t>{
                  {"a", file_type::regular}, {"b", file_type::folder}, {"c", file_type::link}}));
  }
  EXPECT_FALSE(folder->isReadOnly());
  EXPECT_EQ(files().openFolder({*folder, "c"}, Links::stay).error(), PosixCode::notDirectory);
  EXPECT_TRUE(files().openFolder({*folder, "c"}, Links::follow));
}

TEST_F(FilesContract, EntriesMayBeRemovedWhileTheyAreRead) {
  constexpr int count = 3000;  // Several buffers full.
  const std::string padding(60, 'x');
  for (int i = 0; i < count; ++i) scratch_.file(padding + std::to_string(i));
  auto folder = std::move(*files().openFolder(scratch_.path().c_str(), Links::stay));
  int seen = 0;
  for (auto entry = folder.next(); entry && *entry; entry = folder.next(), ++seen) {
    EXPECT_EQ(files().removeFile({folder, (*entry)->name}), PosixCode::success);
  }
  EXPECT_EQ(seen, count);
  ASSERT_EQ(rmdir(scratch_.path().c_str()), 0);
  folder.rewind();
  EXPECT_EQ(folder.next().error(), PosixCode::noEntry);
}

TEST_F(FilesContract, ATakenNameStaysAsItIs) {
  scratch_.make("mkdir folder; touch file; ln -s nowhere dangling; ln -s folder link");
  const auto model = fifoAt("fifo");
  const auto held = files().hold(model.c_str(), Links::stay);
  for (const char* name : {"folder", "file", "dangling", "link"}) {
    const auto path = scratch_.path(name);
    const auto before = statusOf(path)->inode;
    EXPECT_EQ(files().createFile(path.c_str(), 0600).error(), PosixCode::exists) << name;
    EXPECT_EQ(files().createFolder(path.c_str(), 0700).error(), PosixCode::exists) << name;
    EXPECT_EQ(files().createLink(path.c_str(), "x"), PosixCode::exists) << name;
    EXPECT_EQ(files().createHardLink(path.c_str(), model.c_str()), PosixCode::exists) << name;
    EXPECT_EQ(files().createSpecialFile(path.c_str(), *held), PosixCode::exists) << name;
    EXPECT_EQ(files().rename(model.c_str(), path.c_str()), PosixCode::exists) << name;
    EXPECT_EQ(statusOf(path)->inode, before) << name;
  }
  EXPECT_FALSE(test::exists(scratch_.path("nowhere")));
}

TEST_F(FilesContract, ReadsRegularFilesUpToALimit) {
  const auto file = scratch_.file("file", "12345");
  const auto link = scratch_.link("link", "file");
  EXPECT_EQ(files().readFile(link.c_str(), 5)->size(), 5u);
  EXPECT_EQ(files().readFile(file.c_str(), 4).error(), PosixCode::noSpace);
  for (const auto& path :
       {fifoAt("fifo"), socketAt("socket"), scratch_.path(), std::string("/dev/null")}) {
    EXPECT_EQ(files().readFile(path.c_str(), 4).error(), PosixCode::invalidArgument) << path;
  }
}

TEST_F(FilesContract, CopiesContentsTimesAndSpecialFiles) {
  const auto source = scratch_.file("source", "begin"), copy = scratch_.path("copy");
  ASSERT_EQ(truncate(source.c_str(), 1 << 20), 0);
  const timespec times[] = {{1000, 0}, {2000, 500000000}};
  ASSERT_EQ(utimensat(AT_FDCWD, source.c_str(), times, 0), 0);
  const auto held = files().hold(source.c_str(), Links::stay);
  auto file = files().createFile(copy.c_str(), 0600);
  ASSERT_TRUE(held && file);
  LeaseWait leases;
  EXPECT_EQ(files().copyContents(*held, *file, leases), PosixCode::success);
  EXPECT_EQ(file->synchronize(), PosixCode::success);
  EXPECT_EQ(file->hold()->setTimesOf(*held), PosixCode::success);
  EXPECT_EQ(file->hold()->setCreationTimeOf(*held), PosixCode::success);
  EXPECT_EQ(statusOf(copy)->modificationDate, (Date{2000.5}));
  EXPECT_EQ(*files().readFile(copy.c_str(), 1 << 20), *files().readFile(source.c_str(), 1 << 20));

  const auto folder = files().openFolder(scratch_.path().c_str(), Links::stay);
  const auto model = files().hold(fifoAt("fifo").c_str(), Links::stay);
  EXPECT_EQ(files().createSpecialFile({*folder, "fifo2"}, *model), PosixCode::success);
  EXPECT_EQ(statusOf(scratch_.path("fifo2"))->mode, file_type::fifo | 0600u);
  EXPECT_EQ(files().synchronize(*folder), PosixCode::success);
}

TEST_F(FilesContract, FlagsProtectUntilTheyAreCleared) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto file = scratch_.file("file");
  const auto folder = files().openFolder(scratch_.path().c_str(), Links::stay);
  const FileAt object{*folder, "file"};
  for (const auto flag : {file_flag::userImmutable, file_flag::userAppendOnly}) {
    const auto before = *files().status(object, Links::stay);
    const auto code = files().setFlags(object, before, flag);
    if (code == PosixCode::notSupported) GTEST_SKIP() << "needs a file system with flags";
    ASSERT_EQ(code, PosixCode::success);
    EXPECT_EQ(files().status(object, Links::stay)->flags & flag, flag);
    EXPECT_EQ(files().removeFile(object), PosixCode::notPermitted);
    const auto now = *files().status(object, Links::stay);
    EXPECT_EQ(files().setFlags(object, now, 0), PosixCode::success);
  }
  EXPECT_EQ(files().removeFile(object), PosixCode::success);
}

}  // namespace
}  // namespace qrt
