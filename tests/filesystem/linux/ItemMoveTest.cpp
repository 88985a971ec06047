#include "filesystem/objects/ItemMove.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/xattr.h>

#include <fstream>

#include "PortFileSystem.h"
#include "filesystem/FolderChain.h"
#include "filesystem/OperationFixture.h"
#include "filesystem/objects/FileManager.h"
#include "support/Mounts.h"
#include "support/PlantedFile.h"
#include "support/PlatformDouble.h"
#include "support/SteppedChild.h"

namespace qrt {
namespace {

using test::Mount;
using test::printed;
using testing::IsEmpty;
using testing::Not;

/// Everything that a tree has, in words: types, modes, owners, times, sizes, links, contents,
/// attributes with their lists of access rights (which XFS shows twice), flags.
std::string description(const std::string& path) {
  return printed("cd '" + path + "' 2>/dev/null || exit; export LC_ALL=C" + R"(
      find . '(' -type d -printf '%p %M %U %G %T@\n' -o -printf '%p %M %U %G %s %T@ %l %n\n' ')' |
        sort
      find . -type f -exec sha1sum {} + | sort
      find . | sort | xargs -d '\n' getfattr -h -d -m - -e hex 2>&1 | grep -v '^trusted.SGI_ACL_'
      find . -type f -o -type d | sort | xargs -d '\n' lsattr -d 2>&1 |
        awk '{gsub(/[^ia]/, "", $1); print}')");
}

class ItemMoveTest : public test::OperationFixture {
 protected:
  Outcome move(const std::string& from, const std::string& to) {
    return FileManager::moveItemAtPath(platform_, from, to);
  }

  static std::int64_t causeOf(const Outcome& outcome) {
    return outcome->userInfo.at("NSUnderlyingError").error()->code;
  }
};

class VolumeMoveTest : public ItemMoveTest, public testing::WithParamInterface<Mount::Kind> {};

TEST_P(VolumeMoveTest, EverythingArrivesAndComesBack) {
  const Mount mount(GetParam(), scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and the volume's tools";
  const auto here = scratch_.folder("tree"), there = scratch_.path("volume/tree");
  scratch_.file("tree/" + std::string(255, 'n'), std::string(300000, 'x'));
  scratch_.file("tree/not\xff utf\x80", "bytes");
  ASSERT_EQ(mknod((here + "/socket").c_str(), S_IFSOCK | 0666, 0), 0);
  scratch_.make(R"(cd tree
      mkdir -p folder/empty; printf contents > file; printf deep > folder/deep
      ln file folder/again; ln -s file link; ln -s nowhere dangling; ln -s loop loop
      mkfifo -m 620 fifo; mknod -m 604 device c 1 3
      chown 1000:2000 folder; chown -h 1001:2001 link; chown 1002:2002 file
      chmod 6711 file; chmod 3770 folder; chmod 0 folder/deep
      setfattr -h -n trusted.label -v t link; setfacl -m u:1234:rwx,d:u:1234:rwx folder/empty
      ln folder/deep deeper
      # Memory keeps these on newer kernels only.
      setfattr -n user.note -v text file && setfattr -n user.empty folder || true
      touch -h -d @1000000002.987654321 folder/deep folder/empty link fifo folder .
      # What the new folder passes on is not to reach the copy.
      chmod 2777 ../volume; chgrp 77 ../volume; setfacl -m d:u:4321:rwx ../volume)");
  const auto isFlagged = scratch_.changeFlags("tree/folder/deep", "+i");
  const auto before = description(here);
  EXPECT_EQ(isFlagged, before.find("\ni ./folder/deep\n") != std::string::npos) << before;
  ASSERT_EQ(move(here, there), success);
  EXPECT_FALSE(test::exists(here));
  EXPECT_EQ(description(there), before);

  ASSERT_EQ(move(there, here), success);
  EXPECT_EQ(description(here), before);
  EXPECT_EQ(printed("getfattr -R -h -d -m SGI '" + here + "'"), "");
  EXPECT_EQ(printed("ls -A '" + scratch_.path("volume") + "' | grep -v lost+found"), "");
}

INSTANTIATE_TEST_SUITE_P(Volumes, VolumeMoveTest,
                         testing::Values(Mount::Kind::memory, Mount::Kind::ext4, Mount::Kind::xfs,
                                         Mount::Kind::btrfs));

class AcrossTest : public ItemMoveTest {
 protected:
  void SetUp() override {
    if (!mount_.isMounted()) GTEST_SKIP() << "needs the right to mount";
    scratch_.folder("tree");
  }

  std::string namesOnVolume() { return printed("ls -A '" + scratch_.path("volume") + "'"); }

  const Mount mount_{Mount::Kind::memory, scratch_.folder("volume")};
  const std::string from_ = scratch_.path("tree"), to_ = scratch_.path("volume/tree");
};

TEST_F(AcrossTest, DoesNotCopyAnObjectThatItCannotRemove) {
  using namespace file_flag;  // No volume of this system keeps the flags of the rows.
  const auto parent = platform_.files.openFolder(from_.c_str(), Links::stay);
  for (const auto flag : {systemImmutable, systemAppendOnly, restricted, noUnlink}) {
    FileStatus flagged;
    flagged.flags = flag;
    const auto code = FileManager::checkRemovable(*parent, flagged);
    EXPECT_EQ(code, PosixCode::notPermitted) << flag;
  }
  {
    const Mount inner(Mount::Kind::memory, scratch_.folder("tree/inner"));
    scratch_.file("tree/inner/file");
    EXPECT_EQ(causeOf(move(from_, to_)), number(PosixCode::busy));
    EXPECT_EQ(causeOf(move(from_, from_ + "/inner/tree")), number(PosixCode::busy));
    EXPECT_EQ(causeOf(move(from_ + "/inner", to_)), number(PosixCode::busy));
    EXPECT_EQ(printed("ls -A '" + from_ + "/inner'"), "file\n");
  }
  if (!scratch_.changeFlags("tree", "+i")) GTEST_SKIP() << "needs the right to set flags";
  EXPECT_EQ(move(from_, to_)->code, 513);
  EXPECT_EQ(namesOnVolume(), "");
}

/// Another file takes the name of the moved one as soon as the copy is complete.
class ExchangedAfterCopy : public test::PortFileSystem {
 public:
  explicit ExchangedAfterCopy(std::string folder) : folder_(std::move(folder)) {}
  PosixCode synchronize(const Folder& folder) override {
    (void)!::rename((folder_ + "/other").c_str(), (folder_ + "/file").c_str());
    return test::PortFileSystem::synchronize(folder);
  }

 private:
  const std::string folder_;
};

TEST_F(AcrossTest, AFileThatTookTheNameOfTheMovedOneStays) {
  ExchangedAfterCopy files(from_);
  const auto platform = test::platformWith({.files = &files}, platform_);
  scratch_.make("touch tree/file; printf other > tree/other");
  const auto error = FileManager::moveItemAtPath(platform, from_ + "/file", to_);
  ASSERT_TRUE(error);
  EXPECT_EQ(causeOf(error), number(PosixCode::noEntry));
  EXPECT_EQ(printed("cat '" + from_ + "/file'"), "other");
}

TEST_F(AcrossTest, AMoveWaitsForLeasesOnlyOnce) {
  constexpr const char* limitFile = "/proc/sys/fs/lease-break-time";
  struct Limit {
    Limit() {
      std::ifstream(limitFile) >> before;
      std::ofstream(limitFile) << 1;
    }
    ~Limit() { std::ofstream(limitFile) << before; }
    int before = 0;
  } const limit;
  if (access(limitFile, W_OK) != 0) GTEST_SKIP() << "needs the right to change the system's limit";
  const auto lease = [&](const char* name) {
    FileDescriptor file(open(scratch_.file(name).c_str(), O_RDONLY));
    EXPECT_EQ(fcntl(file.get(), F_SETLEASE, F_WRLCK), 0);
    return file;
  };
  signal(SIGIO, SIG_IGN);  // Who holds a lease is asked by a signal to give it up.
  {
    const auto kept = lease("tree/first");
    EXPECT_EQ(move(from_, to_), success);
    ASSERT_EQ(move(to_, from_), success);
  }
  const FileDescriptor leases[] = {lease("tree/first"), lease("tree/second")};
  const auto error = move(from_, to_);
  ASSERT_TRUE(error);
  EXPECT_EQ(causeOf(error), number(PosixCode::tryAgain));
  EXPECT_EQ(namesOnVolume(), "");
}

TEST_F(AcrossTest, RefusesToMoveATreeIntoItselfByAnotherMount) {
  scratch_.make("mkdir -p tree/top/inner bound; mount --bind tree bound");
  const auto error = move(from_ + "/top", scratch_.path("bound/top/inner/new"));
  scratch_.make("umount bound");
  ASSERT_TRUE(error);
  EXPECT_EQ(causeOf(error), number(PosixCode::invalidArgument));
  EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), from_ + "/top");
  EXPECT_EQ(printed("cd '" + from_ + "'; find ."), ".\n./top\n./top/inner\n");
}

// Sanitizers do not give memory back at once.
#ifndef QRT_SANITIZED
TEST_F(AcrossTest, ADeepTreeTakesLittleMemoryAndFewDescriptors) {
  constexpr int levels = 1500;
  constexpr long muchLessThanItsPaths = 60000;  // KiB
  test::makeChain(from_, std::string(255, 'n'), levels, [](int folder) {
    close(openat(folder, "first", O_WRONLY | O_CREAT, 0600));
    EXPECT_EQ(linkat(folder, "first", folder, "second", 0), 0);
  });
  test::SteppedChild child([&] {
    constexpr rlimit descriptors{128, 128};
    setrlimit(RLIMIT_NOFILE, &descriptors);
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    const bool isMoved = move(from_, to_) == success;
    getrusage(RUSAGE_SELF, &after);
    return isMoved && after.ru_maxrss - before.ru_maxrss < muchLessThanItsPaths;
  });
  EXPECT_TRUE(child.finish());
  EXPECT_FALSE(test::exists(from_));
}
#endif

/// The contents of an object are a text; its label is the same text in an attribute.
struct Look {
  uid_t owner;
  mode_t mode;
  std::string text, label = text;
  bool operator==(const Look&) const = default;
};

/// Two objects are exchanged while one of them is copied. The parameter is their type.
class ExchangedInCopyTest : public AcrossTest, public testing::WithParamInterface<std::uint32_t> {
 protected:
  static bool isLink() { return GetParam() == file_type::link; }
  static std::string holderOf(const std::string& path) {
    return GetParam() == file_type::folder ? path + "/in" : path;
  }
  static void make(const std::string& path, const Look& look) {
    if (GetParam() == file_type::folder) mkdir(path.c_str(), 0700);
    if (isLink()) (void)!symlink(look.text.c_str(), path.c_str());
    if (!isLink()) std::ofstream(holderOf(path)) << look.text;
    (void)!lchown(path.c_str(), look.owner, look.owner);
    if (!isLink()) (void)!chmod(path.c_str(), look.mode);
    lsetxattr(path.c_str(), "trusted.label", look.label.data(), look.label.size(), 0);
  }
  /// Each call looks for the name again.
  static Look lookAt(const std::string& path) {
    const auto status = test::statusOf(path);
    char label[9] = {}, text[9] = {};
    lgetxattr(path.c_str(), "trusted.label", label, sizeof label - 1);
    if (isLink()) (void)!readlink(path.c_str(), text, sizeof text - 1);
    if (!isLink()) std::ifstream(holderOf(path)) >> text;
    return {status.st_uid, status.st_mode & 07777, text, label};
  }
};

TEST_P(ExchangedInCopyTest, AnExchangeMixesNoObjects) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto old = from_ + "/object", other = scratch_.path("other"), copy = to_ + "/object";
  const auto strike = test::exchanging(old, other);
  Look roots, evil;
  const auto prepare = [&] {
    for (const auto& path : {from_, to_, other}) {
      (void)FileManager::removeItemAtPath(platform_, path);
    }
    mkdir(from_.c_str(), 0755);
    make(old, {0, 0755, "root"});
    make(other, {1234, 06777, "evil"});
    roots = lookAt(old);
    evil = lookAt(other);
  };
  const auto isSafe = [&] {
    if (!test::exists(copy)) return true;
    const auto look = lookAt(copy);
    return look == roots || look == evil;
  };
  const auto careless = [&] {
    mkdir(to_.c_str(), 0755);
    make(copy, lookAt(old));
    return true;
  };
  const auto careful = test::anyhow([&] { return move(from_, to_); });
  const auto lost = test::attackAtEveryCall(prepare, careless, strike, isSafe, true);
  EXPECT_THAT(lost.lostStops, Not(IsEmpty()));
  const auto won = test::attackAtEveryCall(prepare, careful, strike, isSafe);
  EXPECT_THAT(won.lostStops, IsEmpty());
  EXPECT_GT(won.strikes, 100);
}

INSTANTIATE_TEST_SUITE_P(Types, ExchangedInCopyTest,
                         testing::Values(file_type::regular, file_type::folder, file_type::link));

/// A file changes its owner, contents and rights while it is copied.
TEST_F(AcrossTest, AFileGivenAwayDuringItsCopyDoesNotRunAsRoot) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const struct {
    Look before, after;
    /// A user who gets the file may set these bits, and root's contents may have them.
    bool isEvilBySetID;
  } cases[] = {{{0, 0755, "root"}, {1234, 06755, "evil"}, true},
               {{1234, 0755, "evil"}, {0, 06755, "root"}, false}};
  const auto file = scratch_.file("file");
  const auto change = [&](const Look& look, int flags) {
    const FileDescriptor opened(open(file.c_str(), O_WRONLY | flags, 0600));
    return fchown(opened.get(), look.owner, look.owner) == 0 &&
           pwrite(opened.get(), look.text.data(), look.text.size(), 0) > 0 &&
           fchmod(opened.get(), look.mode) == 0;
  };
  for (const auto& row : cases) {
    const auto attacks = test::attackAtEveryCall(
        [&] {
          scratch_.make("rm -rf volume/* file");
          change(row.before, O_CREAT);
        },
        test::anyhow([&] { return move(file, to_); }), [&] { return change(row.after, 0); },
        [&] {
          if (!test::exists(to_)) return true;
          const auto status = test::statusOf(to_);
          const bool hasSetID = (status.st_mode & 06000) != 0;
          const bool isEvil = test::contentsOf(to_) == "evil" ? hasSetID || row.isEvilBySetID
                                                              : hasSetID && row.isEvilBySetID;
          return !isEvil || (status.st_uid != 0 && status.st_gid != 0);
        });
    EXPECT_THAT(attacks.lostStops, IsEmpty()) << row.before.text;
    EXPECT_GT(attacks.strikes, 20);
  }
}

TEST_F(AcrossTest, AnExchangedFolderIsNotRemoved) {
  const auto old = from_ + "/object", other = from_ + "/roots";
  const auto prepare = [&] {
    scratch_.make("rm -rf tree/* volume/*; mkdir tree/object tree/roots; touch tree/roots/file");
  };
  const auto careful = test::anyhow([&] { return move(old, to_); });
  const auto isSafe = [&] {
    return test::exists(old + "/file") || test::exists(other + "/file") ||
           test::exists(to_ + "/file");
  };
  const auto strike = test::exchanging(old, other);
  const auto attacks = test::attackAtEveryCall(prepare, careful, strike, isSafe);
  EXPECT_THAT(attacks.lostStops, IsEmpty());
  EXPECT_GT(attacks.strikes, 40);
}

}  // namespace
}  // namespace qrt
