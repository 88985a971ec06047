#include "filesystem/FileObjectOperations.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

#include "filesystem/AdvancedOpsAdditions.h"
#include "filesystem/FileSystemOperations.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/NativePlatform.h"
#include "support/FolderExchanger.h"
#include "support/Mounts.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::Mount;

const auto invalid = posixError(PosixCode::invalidArgument);

class FileObjectOperationsTest : public testing::Test {
 protected:
  FileObjectOperationsTest() { registerFileSystemHandlers(handlers_, platform_.facilities()); }

  /// Performs an operation the way a request does.
  Outcome perform(const std::string& stem, const Array& arguments) {
    const auto* handler = handlers_.find("performOperation" + stem + "WithArguments:");
    EXPECT_NE(handler, nullptr) << stem;
    return handler == nullptr ? Outcome() : (*handler)(arguments, nullptr);
  }

  FileStatus statusOf(const std::string& path, Links links = Links::stay) {
    const auto status = platform_.facilities().files.status(path.c_str(), links);
    EXPECT_TRUE(status) << path;
    return status ? *status : FileStatus();
  }
  bool isImmutable(const std::string& name) {
    return (statusOf(scratch_.path(name)).flags & file_flag::userImmutable) != 0;
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  HandlerTable handlers_;
};

TEST_F(FileObjectOperationsTest, CreatedObjectsBelongToRootAndHaveTheirExactMode) {
  ASSERT_EQ(chown(scratch_.path().c_str(), 1000, 1000), 0);
  ASSERT_EQ(chmod(scratch_.path().c_str(), 02777), 0);
  const struct {
    const char* code;
    std::uint32_t mode;
  } cases[] = {{"F", file_type::regular | 0644},
               {"X", file_type::regular | 0755},
               {"D", file_type::folder | 0755}};
  for (const mode_t mask : {0000, 0777}) {
    for (const auto& created : cases) {
      const auto path = scratch_.path(created.code + std::to_string(mask));
      const auto before = umask(mask);
      EXPECT_EQ(perform("CreateFileobject", {path, created.code}), success);
      EXPECT_EQ(umask(before), mask);
      const auto status = statusOf(path);
      EXPECT_EQ(status.mode, created.mode);
      EXPECT_EQ(status.userID, 0u);
      EXPECT_EQ(status.groupID, 0u);
      EXPECT_TRUE(status.isFolder() || status.size == 0);
    }
  }
}

TEST_F(FileObjectOperationsTest, CreationIsRefusedWithTheRightError) {
  const auto path = scratch_.path("new");
  for (const char* code : {"", "FF", "d", "L", "\xc3\xa9"}) {
    EXPECT_EQ(perform("CreateFileobject", {path, code}), invalid) << code;
  }
  EXPECT_EQ(perform("CreateFileobject", {"", "F"}), invalid);
  for (const char* code : {"F", "D"}) {
    EXPECT_EQ(perform("CreateFileobject", {scratch_.path(), code}), posixError(PosixCode::exists));
  }

  const auto dangling = scratch_.link("dangling", "nowhere");
  for (const auto& blocked :
       {dangling, scratch_.path("missing/new"), scratch_.path("dangling/x")}) {
    const auto error = perform("CreateFileobject", {blocked, "X"});
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, privilegedOperationErrorDomain);
    EXPECT_EQ(error->code, 4);
    EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), blocked);
    EXPECT_EQ(error->userInfo.at("QRTLocalizedRecoverySuggestionParameters"),
              PropertyValue(Array{blocked}));
  }
  EXPECT_EQ(perform("CreateFileobject", {dangling, "D"})->code, 516);
  EXPECT_EQ(perform("CreateFileobject", {scratch_.path("missing/new"), "D"})->code, 4);
  EXPECT_EQ(perform("CreateFileobject", {scratch_.path("missing/new"), "D"})->domain,
            cocoaErrorDomain);
  EXPECT_FALSE(test::exists(scratch_.path("nowhere")));
}

TEST_F(FileObjectOperationsTest, InspectionAnswersWithAValue) {
  scratch_.folder("folder");
  const struct {
    std::string path;
    int existence;
  } cases[] = {{scratch_.path("folder"), 1},
               {scratch_.link("toFolder", "folder"), 1},
               {scratch_.file("not\xff utf8"), 2},
               {"/dev/null", 2},
               {scratch_.link("dangling", "nowhere"), 0},
               {scratch_.link("loop", "loop"), 0},
               {scratch_.path("missing"), 0},
               {scratch_.path(std::string(300, 'n')), 0},
               {std::string("/etc\0x", 6), 0}};
  for (const auto& inspected : cases) {
    EXPECT_EQ(perform("InspectFileobject", {inspected.path}),
              privilegedOperationAnswer({{"ObjectExistence", inspected.existence}}))
        << inspected.path;
  }
  EXPECT_EQ(perform("InspectFileobject", {""}), invalid);
}

TEST_F(FileObjectOperationsTest, TouchingFollowsLinksAndCreatesNothing) {
  const auto file = scratch_.file("file");
  const auto link = scratch_.link("link", "file");
  const timespec old[] = {{1, 0}, {1, 0}};
  for (const auto& path : {file, link}) {
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), old, AT_SYMLINK_NOFOLLOW), 0);
  }
  EXPECT_EQ(perform("TouchFileobject", {link}), success);
  const auto now = static_cast<double>(time(nullptr));
  EXPECT_NEAR(statusOf(file).modificationDate.secondsSince1970, now, 60);
  EXPECT_EQ(statusOf(link).modificationDate.secondsSince1970, 1);

  EXPECT_EQ(perform("TouchFileobject", {""}), invalid);
  for (const auto& path : {scratch_.path("missing"), scratch_.link("dangling", "nowhere")}) {
    EXPECT_EQ(perform("TouchFileobject", {path}), posixError(PosixCode::noEntry));
  }
  EXPECT_FALSE(test::exists(scratch_.path("nowhere")));
  if (scratch_.changeFlags("file", "+i")) {
    EXPECT_EQ(perform("TouchFileobject", {file}), posixError(PosixCode::notPermitted));
  }
}

TEST_F(FileObjectOperationsTest, LinksAreMadeAsTheyAreWritten) {
  const auto file = scratch_.file("file");
  const auto soft = scratch_.path("soft");
  EXPECT_EQ(perform("CreateLink", {soft, "../no/where", 0}), success);
  char target[64] = {};
  ASSERT_GT(readlink(soft.c_str(), target, sizeof target - 1), 0);
  EXPECT_STREQ(target, "../no/where");
  EXPECT_EQ(perform("CreateLink", {scratch_.path("hard"), file, 1}), success);
  EXPECT_EQ(statusOf(scratch_.path("hard")).inode, statusOf(file).inode);
  EXPECT_EQ(perform("CreateLink", {scratch_.path("hardToLink"), soft, 1}), success);
  EXPECT_TRUE(statusOf(scratch_.path("hardToLink")).isLink());

  EXPECT_EQ(perform("CreateLink", {soft, "x", 0})->code, 516);
  EXPECT_EQ(perform("CreateLink", {soft, file, 1})->code, 516);
  EXPECT_EQ(perform("CreateLink", {scratch_.path("new"), scratch_.path("missing"), 1})->code, 4);
  EXPECT_EQ(perform("CreateLink", {scratch_.path("new"), scratch_.path(), 1})->code, 513);
  EXPECT_EQ(perform("CreateLink", {scratch_.path("new"), "", 0})->code, 4);
  EXPECT_EQ(perform("CreateLink", {"", "x", 0})->code, 4);
}

TEST_F(FileObjectOperationsTest, ClassicAttributesAreTheRecordThatOthersRead) {
  const Mount mount(Mount::Kind::ext4, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  const auto file = scratch_.file("volume/file");
  const auto link = scratch_.link("link", file);
  auto& attributes = platform_.facilities().extendedAttributes;
  const auto record = [&] {
    const auto value = attributes.value(file.c_str(), Links::stay, "user.com.apple.FinderInfo");
    return value ? std::optional(*value) : std::nullopt;
  };
  const std::uint32_t type = 0x54595045;
  const std::uint32_t creator = 0xFF000001;
  EXPECT_EQ(perform("ModifyHfsattr", {link, type, creator, 1}), success);
  Data expected{'T', 'Y', 'P', 'E', 0xFF, 0, 0, 1, 0x40};
  expected.resize(32);
  EXPECT_EQ(record(), expected);

  expected[31] = 7;  // Somebody else's.
  expected[8] = 0x4A;
  ASSERT_EQ(attributes.set(file.c_str(), Links::stay, "com.apple.FinderInfo", expected),
            PosixCode::success);
  EXPECT_EQ(perform("ModifyHfsattr", {file, 0, 0, 0}), success);
  std::fill_n(expected.begin(), 8, std::uint8_t{0});
  expected[8] = 0x0A;
  EXPECT_EQ(record(), expected);

  const auto plain = scratch_.file("volume/plain");
  EXPECT_EQ(perform("ModifyHfsattr", {plain, 0, 0, 0}), success);
  EXPECT_TRUE(attributes.names(plain.c_str(), Links::stay, Compression::hidden)->empty());

  EXPECT_EQ(perform("ModifyHfsattr", {"/proc/self/stat", 0, 0, 0}), success);
  EXPECT_EQ(perform("ModifyHfsattr", {"", type, creator, 1}), invalid);
  EXPECT_EQ(perform("ModifyHfsattr", {scratch_.path("missing"), type, creator, 1})->code, 4);
  EXPECT_EQ(perform("ModifyHfsattr", {"/proc/self/stat", type, creator, 1})->domain,
            cocoaErrorDomain);
}

class ProtectionTest : public FileObjectOperationsTest {
 protected:
  void SetUp() override {
    scratch_.file("probe");
    if (!scratch_.changeFlags("probe", "+i")) GTEST_SKIP() << "needs the right to set flags";
  }
  ~ProtectionTest() override {
    // Of everything that a test may have protected, mounted volumes included.
    test::run({"chattr", "-R", "-f", "-ia", scratch_.path()});
  }

  Outcome protect(const std::string& path, bool value, bool recursive = false,
                  bool stayOnFileSystem = false) {
    return perform("ModifyProtection", {path, value, recursive, stayOnFileSystem});
  }
};

TEST_F(ProtectionTest, OneObjectOrTheTargetOfALink) {
  scratch_.folder("folder");
  scratch_.file("folder/file");
  scratch_.link("link", "folder");
  EXPECT_EQ(protect(scratch_.path("link"), true), success);
  EXPECT_TRUE(isImmutable("folder"));
  EXPECT_FALSE(isImmutable("folder/file"));
  EXPECT_EQ(protect(scratch_.path("folder"), false), success);
  EXPECT_FALSE(isImmutable("folder"));

  EXPECT_EQ(protect("", true), invalid);
  for (const auto& path : {scratch_.path("missing"), scratch_.link("dangling", "nowhere")}) {
    EXPECT_EQ(protect(path, true, true), posixError(PosixCode::noEntry));
  }
  EXPECT_EQ(protect("/dev/null", true), posixError(PosixCode::notSupported));
  EXPECT_EQ(protect("/dev/null", false), success);
}

TEST_F(ProtectionTest, AHierarchyWithTheTargetsOfItsLinks) {
  scratch_.folder("outside");
  scratch_.file("outside/file");
  scratch_.folder("tree");
  scratch_.folder("tree/folder");
  scratch_.file("tree/folder/" + std::string(255, 'n'));
  scratch_.file("tree/not\xff utf8");
  scratch_.link("tree/dangling", "nowhere");
  scratch_.link("tree/loop", "loop");
  scratch_.link("tree/out", "../outside");
  scratch_.link("top", "tree");
  for (const bool value : {true, false}) {
    EXPECT_EQ(protect(scratch_.path("top"), value, true), success);
    for (const auto& name :
         {std::string("tree"), std::string("tree/folder"), "tree/folder/" + std::string(255, 'n'),
          std::string("tree/not\xff utf8"), std::string("outside")}) {
      EXPECT_EQ(isImmutable(name), value) << name;
    }
    EXPECT_FALSE(isImmutable("outside/file"));
  }
}

TEST_F(ProtectionTest, TheFirstFailureIsTold) {
  scratch_.folder("tree");
  ASSERT_EQ(mkfifo(scratch_.path("tree/fifo").c_str(), 0600), 0);
  EXPECT_EQ(protect(scratch_.path("tree"), true, true), posixError(PosixCode::notSupported));
  EXPECT_TRUE(isImmutable("tree"));
  EXPECT_EQ(protect(scratch_.path("tree"), false, true), success);
}

TEST_F(ProtectionTest, AnotherFileSystemCanBeLeftAlone) {
  scratch_.folder("tree");
  scratch_.folder("tree/volume");
  scratch_.file("tree/file");
  const Mount mount(Mount::Kind::ext4, scratch_.path("tree/volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  scratch_.file("tree/volume/file");
  EXPECT_EQ(protect(scratch_.path("tree"), true, true, true), success);
  EXPECT_TRUE(isImmutable("tree/file"));
  EXPECT_FALSE(isImmutable("tree/volume"));
  EXPECT_FALSE(isImmutable("tree/volume/file"));
  EXPECT_EQ(protect(scratch_.path("tree"), true, true, false), success);
  EXPECT_TRUE(isImmutable("tree/volume/file"));
  EXPECT_EQ(protect(scratch_.path("tree"), false, true, false), success);
  EXPECT_FALSE(isImmutable("tree/volume/file"));

  auto& files = platform_.facilities().files;
  using AdvancedOpsAdditions::fileSystemIDForPath;
  EXPECT_EQ(fileSystemIDForPath(files, scratch_.path("missing")), 0xFFFFFFFFu);
  EXPECT_EQ(fileSystemIDForPath(files, ""), 0xFFFFFFFFu);
  EXPECT_NE(fileSystemIDForPath(files, scratch_.path("tree")),
            fileSystemIDForPath(files, scratch_.path("tree/volume")));
}

/// The owner of a tree exchanges a folder in it, while its flags are cleared, for a link to a
/// folder of somebody else that holds the same names. The link's target itself is fair game, what
/// is in it is not.
TEST_F(ProtectionTest, ExchangedFoldersDoNotLeadTheFlagAstray) {
  using Clock = std::chrono::steady_clock;
  constexpr auto timeLimit = std::chrono::seconds(4);
  // The control usually loses within a second; only a machine on which it never does is let off.
  constexpr auto controlPatience = std::chrono::seconds(60);
  constexpr int filesEach = 20;
  const auto tree = scratch_.path("tree");
  scratch_.folder("precious");
  scratch_.folder("tree");
  scratch_.folder("tree/folder");
  for (int i = 0; i < filesEach; ++i) {
    scratch_.file("precious/" + std::to_string(i));
    scratch_.file("tree/folder/" + std::to_string(i));
  }
  scratch_.link("tree/link", scratch_.path("precious"));
  const auto protectAll = [&] {
    EXPECT_EQ(protect(tree, true, true), success);
    EXPECT_EQ(protect(scratch_.path("precious"), true, true), success);
  };
  const auto isPreciousSafe = [&] {
    for (int i = 0; i < filesEach; ++i) {
      if (!isImmutable("precious/" + std::to_string(i))) return false;
    }
    return true;
  };
  // How not to do it: it looks whether the folder is one and then goes there by its path.
  const auto releaseByPath = [&] {
    if (statusOf(scratch_.path("tree/folder")).isLink()) return;
    for (int i = 0; i < filesEach; ++i) {
      (void)protect(tree + "/folder/" + std::to_string(i), false);
    }
  };
  // What the folder is exchanged for is not always there when one looks by path.

  int roundsUntilLost = 0;
  for (const auto start = Clock::now(); isPreciousSafe(); ++roundsUntilLost) {
    if (Clock::now() - start > controlPatience)
      GTEST_SKIP() << "the control was not led astray in time";
    protectAll();
    EXPECT_EQ(protect(tree, false), success);
    const test::FolderExchanger attacker(tree + "/folder", tree + "/link");
    releaseByPath();
  }

  int exchanges = 0;
  const auto start = Clock::now();
  for (int round = 0; round < 10 * roundsUntilLost + 200; ++round) {
    if (Clock::now() - start > timeLimit) break;
    EXPECT_EQ(protect(tree, false, true), success);
    protectAll();
    {
      const test::FolderExchanger attacker(tree + "/folder", tree + "/link");
      EXPECT_EQ(protect(tree, false, true), success);
      exchanges += attacker.exchanges();
    }
    ASSERT_TRUE(isPreciousSafe()) << "in round " << round << ", the control lost round "
                                  << roundsUntilLost;
  }
  EXPECT_GT(exchanges, 0) << "nobody attacked";
}

}  // namespace
}  // namespace qrt
