#include "filesystem/ItemMove.h"

#include <gmock/gmock.h>
#include <sys/socket.h>

#include <fstream>
#include <iterator>
#include <memory>

#include "support/ItemFixture.h"
#include "support/KillAtEveryCall.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using test::Mount;
using test::printed;

/// Everything that a tree has, in words: types, modes, owners, times, sizes, links, contents,
/// attributes with their lists of access rights (which XFS shows twice), flags.
std::string description(const std::string& path) {
  const auto in = "cd '" + path + "' 2>/dev/null && ";
  return printed(in +
                 "find . '(' -type d -printf '%p %M %U %G %T@\\n' -o "
                 "-printf '%p %M %U %G %s %T@ %l %n\\n' ')' | LC_ALL=C sort") +
         printed(in + "find . -type f -exec sha1sum {} + | LC_ALL=C sort") +
         printed(
             in +
             "find . | LC_ALL=C sort | xargs -d '\\n' getfattr -h -d -m - -e hex 2>&1 | grep -v "
             "^trusted.SGI_ACL_") +
         printed(in +
                 "find . -type f -o -type d | LC_ALL=C sort | xargs -d '\\n' lsattr -d 2>&1 | "
                 "awk '{gsub(/[^ia]/, \"\", $1); print}'");
}

class ItemMoveTest : public test::ItemFixture {
 protected:
  Outcome move(const std::string& from, const std::string& to) {
    return FileManager::moveItemAtPath(context_, from, to);
  }

  static std::int64_t causeOf(const Outcome& outcome) {
    return outcome->userInfo.at("NSUnderlyingError").error()->code;
  }

  /// A tree with one of everything; names relative to the scratch folder.
  void makeTree(const std::string& top) {
    scratch_.make("mkdir -p " + top + "/folder/empty; cd " + top +
                  "; printf contents > file; printf deep > folder/deep; ln file folder/again;"
                  "ln -s file link; ln -s nowhere dangling; ln -s loop loop;"
                  "mkfifo -m 620 fifo; mknod -m 604 device c 1 3;"
                  "chown 1000:2000 folder; chown -h 1001:2001 link; chown 1002:2002 file;"
                  "chmod 6711 file; chmod 3770 folder; chmod 0 folder/deep");
    scratch_.file(top + "/" + std::string(255, 'n'), std::string(300000, 'x'));
    scratch_.file(top + "/not\xff utf\x80", "bytes");
    const auto at = [&](const std::string& name) { return scratch_.path(top + "/" + name); };
    ASSERT_EQ(mknod(at("socket").c_str(), S_IFSOCK | 0666, 0), 0);
    const timespec times[] = {{1000000001, 123456789}, {1000000002, 987654321}};
    for (const char* name : {"folder/deep", "folder/empty", "link", "fifo", "folder", ""}) {
      ASSERT_EQ(utimensat(AT_FDCWD, at(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << name;
    }
  }

  void addAttributes(const std::string& top) {
    scratch_.make("cd " + top +
                  "; setfattr -h -n trusted.label -v t link;"
                  "setfacl -m u:1234:rwx,d:u:1234:rwx folder/empty;"
                  // Memory keeps these on newer kernels only.
                  "setfattr -n user.note -v text file && setfattr -n user.empty folder || true");
  }
};

TEST_F(ItemMoveTest, RefusalsChangeNothingAndSayWhy) {
  const auto file = scratch_.file("file");
  const auto folder = scratch_.folder("folder");
  const auto dangling = scratch_.link("dangling", "nowhere");
  const struct {
    std::string from, to;
    std::int64_t code, cause;
  } cases[] = {{scratch_.path("missing"), scratch_.path("new"), 4, 2},
               {"", scratch_.path("new"), 4, 2},
               {file, "", 4, 2},
               {file, scratch_.path("missing/new"), 4, 2},
               {file, folder, 516, 17},
               {file, dangling, 516, 17},
               {file, file, 516, 17},
               {file, scratch_.path(std::string(256, 'n')), 514, 63},
               {folder, folder + "/inside", 512, 22}};
  for (const auto& refused : cases) {
    const auto error = move(refused.from, refused.to);
    ASSERT_TRUE(error) << refused.to;
    EXPECT_EQ(error->domain, cocoaErrorDomain);
    EXPECT_EQ(error->code, refused.code) << refused.to;
    EXPECT_EQ(causeOf(error), refused.cause) << refused.to;
    EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), refused.from);
    EXPECT_EQ(*stringIn(error->userInfo, destinationFilePathErrorKey), refused.to);
  }
  EXPECT_TRUE(test::exists(file) && test::exists(folder) && test::exists(dangling));
}

class VolumeMoveTest : public ItemMoveTest, public testing::WithParamInterface<Mount::Kind> {
 protected:
  void SetUp() override {
    mount_.emplace(GetParam(), scratch_.folder("volume"));
    if (!mount_->isMounted()) GTEST_SKIP() << "needs the right to mount and the volume's tools";
  }
  std::optional<Mount> mount_;
};

TEST_P(VolumeMoveTest, EverythingArrivesAndComesBack) {
  makeTree("tree");
  addAttributes("tree");
  const auto there = scratch_.path("volume/tree");
  const auto isFlagged = scratch_.changeFlags("tree/folder/deep", "+i");
  const auto before = description(scratch_.path("tree"));
  EXPECT_EQ(isFlagged, before.find("\ni ./folder/deep\n") != std::string::npos) << before;
  ASSERT_EQ(move(scratch_.path("tree"), there), success);
  EXPECT_FALSE(test::exists(scratch_.path("tree")));
  EXPECT_EQ(description(there), before);

  ASSERT_EQ(move(there, scratch_.path("tree")), success);
  EXPECT_EQ(description(scratch_.path("tree")), before);
  EXPECT_EQ(printed("getfattr -R -h -d -m SGI '" + scratch_.path("tree") + "'"), "");
  EXPECT_EQ(printed("ls -A '" + scratch_.path("volume") + "' | grep -v lost+found"), "");
}

INSTANTIATE_TEST_SUITE_P(Volumes, VolumeMoveTest,
                         testing::Values(Mount::Kind::memory, Mount::Kind::ext4, Mount::Kind::xfs,
                                         Mount::Kind::btrfs));

class AcrossTest : public ItemMoveTest {
 protected:
  AcrossTest() : mount_(Mount::Kind::memory, scratch_.folder("volume")) {}
  void SetUp() override {
    if (!mount_.isMounted()) GTEST_SKIP() << "needs the right to mount";
  }

  bool isVolumeEmpty() { return printed("ls -A '" + scratch_.path("volume") + "'").empty(); }

  Mount mount_;
};

TEST_F(AcrossTest, WhatTheNewFolderPassesOnDoesNotReachTheCopy) {
  scratch_.folder("tree");
  scratch_.file("tree/file");
  ASSERT_EQ(chmod(scratch_.path("volume").c_str(), 02777), 0);
  ASSERT_EQ(chown(scratch_.path("volume").c_str(), 0, 77), 0);
  ASSERT_TRUE(test::run({"setfacl", "-m", "d:u:1234:rwx", scratch_.path("volume")}));
  const auto before = description(scratch_.path("tree"));
  ASSERT_EQ(move(scratch_.path("tree"), scratch_.path("volume/tree")), success);
  EXPECT_EQ(description(scratch_.path("volume/tree")), before);
}

TEST_F(AcrossTest, HolesStayHoles) {
  constexpr off_t gibibyte = 1 << 30;
  const auto file = scratch_.file("file", "begin");
  ASSERT_EQ(truncate(file.c_str(), 8 * gibibyte), 0);
  ASSERT_EQ(move(file, scratch_.path("volume/file")), success);
  struct stat status {};
  ASSERT_EQ(stat(scratch_.path("volume/file").c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 8 * gibibyte);
  EXPECT_LT(status.st_blocks, 100);
}

TEST_F(AcrossTest, AFullVolumeKeepsTheOldTreeAndNothingOfTheNew) {
  scratch_.folder("tree");
  scratch_.file("tree/a", std::string(100000, 'a'));
  scratch_.file("tree/b", std::string(3000000, 'b'));
  ASSERT_TRUE(test::run({"mount", "-o", "remount,size=1m", scratch_.path("volume")}));
  const auto before = description(scratch_.path("tree"));
  const auto error = move(scratch_.path("tree"), scratch_.path("volume/tree"));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, 640);
  EXPECT_EQ(causeOf(error), 28);
  EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), scratch_.path("tree/b"));
  EXPECT_EQ(description(scratch_.path("tree")), before);
  EXPECT_TRUE(isVolumeEmpty());
}

TEST_F(AcrossTest, WhatCouldNotBeRemovedIsNotCopied) {
  scratch_.make("mkdir -p tree/inner");
  const auto to = scratch_.path("volume/tree");
  {
    const Mount inner(Mount::Kind::memory, scratch_.path("tree/inner"));
    scratch_.file("tree/inner/file");
    EXPECT_EQ(causeOf(move(scratch_.path("tree"), to)), number(PosixCode::busy));
    EXPECT_EQ(causeOf(move(scratch_.path("tree"), scratch_.path("tree/inner/tree"))),
              number(PosixCode::busy));
    EXPECT_EQ(printed("ls -A '" + scratch_.path("tree/inner") + "'"), "file\n");
  }
  if (!scratch_.changeFlags("tree", "+i")) GTEST_SKIP() << "needs the right to set flags";
  EXPECT_EQ(move(scratch_.path("tree"), to)->code, 513);
  EXPECT_TRUE(isVolumeEmpty());
}

TEST_F(AcrossTest, ATakenPathStaysAsItIs) {
  scratch_.file("file", "old");
  scratch_.link("volume/link", "nowhere");
  EXPECT_EQ(move(scratch_.path("file"), scratch_.path("volume/link"))->code, 516);
  EXPECT_EQ(printed("ls -A '" + scratch_.path("volume") + "'"), "link\n");
  EXPECT_TRUE(test::exists(scratch_.path("file")));
}

TEST_F(AcrossTest, ACompleteTreeIsAtOneOfThePathsWheneverTheProcessIsKilled) {
  const auto from = scratch_.path("tree"), to = scratch_.path("volume/tree");
  const auto treeAt = [](const std::string& path) {
    return printed("cd '" + path +
                   "' 2>/dev/null && find . -printf '%p %M\\n' -type f -exec cat {} +");
  };
  const auto make = [&] {
    scratch_.make(
        "rm -rf tree volume/tree; mkdir -p tree/folder; printf contents > tree/folder/file;"
        "chmod 604 tree/folder/file");
  };
  make();
  const auto before = treeAt(from);
  const auto kills = test::killAtEveryCall(
      make, [&] { (void)move(from, to); },
      [&](int stop) {
        EXPECT_TRUE(treeAt(from) == before || treeAt(to) == before) << "killed at stop " << stop;
      });
  EXPECT_GT(kills, 60);
}

}  // namespace
}  // namespace qrt
