#include "platform/Folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <string>

#include "platform/FileStatus.h"
#include "platform/NativeFileSystem.h"
#include "support/Mounts.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

class FolderTest : public testing::Test {
 protected:
  Folder open(const std::string& path) {
    auto folder = files_->openFolder(path.c_str(), Links::stay);
    EXPECT_TRUE(folder) << path;
    return std::move(*folder);
  }

  /// Names with their types; a name that comes twice is a failure.
  std::map<std::string, std::uint32_t> entriesOf(Folder& folder) {
    std::map<std::string, std::uint32_t> entries;
    for (;;) {
      const auto entry = folder.next();
      EXPECT_TRUE(entry);
      if (!entry || !*entry) return entries;
      EXPECT_TRUE(entries.emplace((*entry)->name, (*entry)->type).second) << (*entry)->name;
    }
  }

  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

TEST_F(FolderTest, TellsEveryEntryWithItsType) {
  const std::string unlucky = "not \xFF utf8\nand a line";
  scratch_.folder("folder");
  scratch_.file(".hidden");
  scratch_.file(unlucky);
  scratch_.link("link", "nowhere");
  ASSERT_EQ(mkfifo(scratch_.path("fifo").c_str(), 0600), 0);

  auto folder = open(scratch_.path());
  const std::map<std::string, std::uint32_t> expected{{"folder", file_type::folder},
                                                      {".hidden", file_type::regular},
                                                      {unlucky, file_type::regular},
                                                      {"link", file_type::link},
                                                      {"fifo", file_type::fifo}};
  EXPECT_EQ(entriesOf(folder), expected);
  EXPECT_TRUE(entriesOf(folder).empty());
  folder.rewind();
  EXPECT_EQ(entriesOf(folder), expected);
}

TEST_F(FolderTest, EntriesMayBeRemovedWhileTheyAreRead) {
  constexpr int count = 3000;  // Several buffers full.
  const std::string padding(60, 'x');
  for (int i = 0; i < count; ++i) scratch_.file(padding + std::to_string(i));
  auto folder = open(scratch_.path());
  int seen = 0;
  for (auto entry = folder.next(); entry && *entry; entry = folder.next(), ++seen) {
    EXPECT_EQ(files_->removeFile({folder, (*entry)->name}), PosixCode::success);
  }
  EXPECT_EQ(seen, count);
}

TEST_F(FolderTest, ReadingFailsWithTheReason) {
  auto location = files_->locate(scratch_.path("x"));
  ASSERT_TRUE(location);
  EXPECT_FALSE(location->parent.next());  // Only a base.

  auto folder = open(scratch_.folder("gone"));
  ASSERT_EQ(rmdir(scratch_.path("gone").c_str()), 0);
  EXPECT_EQ(folder.next().error(), PosixCode::noEntry);
}

TEST_F(FolderTest, KnowsAReadOnlyMount) {
  const test::Mount mount(test::Mount::Kind::memory, scratch_.folder("mount"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  EXPECT_FALSE(open(scratch_.path("mount")).isReadOnly());
  ASSERT_TRUE(mount.makeReadOnly());
  EXPECT_TRUE(open(scratch_.path("mount")).isReadOnly());
  EXPECT_FALSE(open(scratch_.path()).isReadOnly());
}

}  // namespace
}  // namespace qrt
