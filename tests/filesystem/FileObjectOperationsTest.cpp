#include "filesystem/FileObjectOperations.h"

#include <ctime>
#include <optional>

#include "filesystem/AdvancedOpsAdditions.h"
#include "filesystem/FileSystemOperations.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/NativePlatform.h"
#include "support/Attack.h"
#include "support/FolderExchanger.h"
#include "support/Mounts.h"

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
  const auto create = [&](const std::string& path, const char* code) {
    return perform("CreateFileobject", {path, code});
  };
  const auto missing = scratch_.path("missing/new"),
             dangling = scratch_.link("dangling", "nowhere");
  for (const char* code : {"", "FF", "d", "\xc3\xa9"}) {
    EXPECT_EQ(create(scratch_.path("new"), code), invalid) << code;
  }
  EXPECT_EQ(create("", "F"), invalid);
  EXPECT_EQ(create(scratch_.path(), "F"), posixError(PosixCode::exists));
  EXPECT_EQ(create(scratch_.path(), "D"), posixError(PosixCode::exists));
  for (const auto& blocked : {dangling, missing}) {
    const auto error = create(blocked, "X");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, privilegedOperationErrorDomain);
    EXPECT_EQ(error->code, 4);
    EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), blocked);
    EXPECT_EQ(error->userInfo.at("QRTLocalizedRecoverySuggestionParameters"),
              PropertyValue(Array{blocked}));
  }
  EXPECT_EQ(create(dangling, "D")->code, 516);
  EXPECT_EQ(create(missing, "D")->code, 4);
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
  scratch_.make("touch -d @1 file; ln -s file link; touch -h -d @1 link; ln -s nowhere dangling");
  const auto modified = [&](const char* name) {
    return statusOf(scratch_.path(name)).modificationDate.secondsSince1970;
  };
  EXPECT_EQ(perform("TouchFileobject", {scratch_.path("link")}), success);
  EXPECT_NEAR(modified("file"), static_cast<double>(time(nullptr)), 60);
  EXPECT_EQ(modified("link"), 1);

  EXPECT_EQ(perform("TouchFileobject", {""}), invalid);
  EXPECT_EQ(perform("TouchFileobject", {scratch_.path("dangling")}),
            posixError(PosixCode::noEntry));
  EXPECT_FALSE(test::exists(scratch_.path("nowhere")));
  if (scratch_.changeFlags("file", "+i")) {
    EXPECT_EQ(perform("TouchFileobject", {scratch_.path("file")}),
              posixError(PosixCode::notPermitted));
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
  const auto file = scratch_.file("volume/file"), plain = scratch_.file("volume/plain");
  const auto link = scratch_.link("link", file);
  const std::uint32_t type = 0x54595045, creator = 0xFF000001;
  const auto record = [](const std::string& path) {
    return test::printed("getfattr -n user.com.apple.FinderInfo -e hex '" + path +
                         "' 2>/dev/null | sed -n 's/.*=0x//p'");
  };
  EXPECT_EQ(perform("ModifyHfsattr", {link, type, creator, 1}), success);
  EXPECT_EQ(record(file), "54595045ff00000140" + std::string(46, '0') + "\n");

  // The last byte and two bits are somebody else's.
  ASSERT_TRUE(test::run({"setfattr", "-n", "user.com.apple.FinderInfo", "-v",
                         "0x54595045ff0000014a" + std::string(44, '0') + "07", file}));
  EXPECT_EQ(perform("ModifyHfsattr", {file, 0, 0, 0}), success);
  EXPECT_EQ(record(file), std::string(16, '0') + "0a" + std::string(44, '0') + "07\n");
  EXPECT_EQ(perform("ModifyHfsattr", {plain, 0, 0, 0}), success);
  EXPECT_EQ(record(plain), "");

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
  scratch_.make("mkdir folder; touch folder/file; ln -s folder link; ln -s nowhere dangling");
  EXPECT_EQ(protect(scratch_.path("link"), true), success);
  EXPECT_TRUE(isImmutable("folder"));
  EXPECT_FALSE(isImmutable("folder/file"));
  EXPECT_EQ(protect(scratch_.path("folder"), false), success);

  EXPECT_EQ(protect("", true), invalid);
  EXPECT_EQ(protect(scratch_.path("dangling"), true, true), posixError(PosixCode::noEntry));
  EXPECT_EQ(protect("/dev/null", true), posixError(PosixCode::notSupported));
  EXPECT_EQ(protect("/dev/null", false), success);
}

TEST_F(ProtectionTest, AHierarchyWithTheTargetsOfItsLinks) {
  scratch_.make(
      "mkdir -p outside tree/folder; touch outside/file; ln -s tree top; cd tree;"
      "ln -s nowhere dangling; ln -s loop loop; ln -s ../outside out");
  const auto longName = "tree/folder/" + std::string(255, 'n');
  scratch_.file(longName);
  scratch_.file("tree/not\xff utf8");
  for (const bool value : {true, false}) {
    EXPECT_EQ(protect(scratch_.path("top"), value, true), success);
    for (const std::string& name : {std::string("tree"), std::string("tree/folder"), longName,
                                    std::string("tree/not\xff utf8"), std::string("outside")}) {
      EXPECT_EQ(isImmutable(name), value) << name;
    }
    EXPECT_FALSE(isImmutable("outside/file"));
  }
}

TEST_F(ProtectionTest, TheFirstFailureIsTold) {
  scratch_.make("mkdir tree; mkfifo tree/fifo");
  EXPECT_EQ(protect(scratch_.path("tree"), true, true), posixError(PosixCode::notSupported));
  EXPECT_TRUE(isImmutable("tree"));
  EXPECT_EQ(protect(scratch_.path("tree"), false, true), success);
}

TEST_F(ProtectionTest, AnotherFileSystemCanBeLeftAlone) {
  scratch_.make("mkdir -p tree/volume; touch tree/file");
  const Mount mount(Mount::Kind::ext4, scratch_.path("tree/volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  scratch_.file("tree/volume/file");
  const auto tree = scratch_.path("tree");
  EXPECT_EQ(protect(tree, true, true, true), success);
  EXPECT_TRUE(isImmutable("tree/file"));
  EXPECT_FALSE(isImmutable("tree/volume") || isImmutable("tree/volume/file"));
  for (const bool value : {true, false}) {
    EXPECT_EQ(protect(tree, value, true, false), success);
    EXPECT_EQ(isImmutable("tree/volume/file"), value);
  }

  auto& files = platform_.facilities().files;
  using AdvancedOpsAdditions::fileSystemIDForPath;
  EXPECT_EQ(fileSystemIDForPath(files, scratch_.path("missing")), 0xFFFFFFFFu);
  EXPECT_EQ(fileSystemIDForPath(files, ""), 0xFFFFFFFFu);
}

/// The owner of a tree exchanges a folder in it, while its flags are cleared, for a link to a
/// folder of somebody else that holds the same names. The link's target itself is fair game, what
/// is in it is not.
TEST_F(ProtectionTest, ExchangedFoldersDoNotLeadTheFlagAstray) {
  constexpr int filesEach = 20;
  const auto tree = scratch_.path("tree"), precious = scratch_.folder("precious");
  scratch_.make("mkdir -p tree/folder");
  for (int i = 0; i < filesEach; ++i) {
    scratch_.file("precious/" + std::to_string(i));
    scratch_.file("tree/folder/" + std::to_string(i));
  }
  scratch_.link("tree/link", precious);
  int exchanges = 0;
  const auto underAttack = [&](bool isProtected, auto release) {
    EXPECT_EQ(protect(tree, isProtected, true), success);
    EXPECT_EQ(protect(precious, true, true), success);
    const test::FolderExchanger attacker(tree + "/folder", tree + "/link");
    release();
    exchanges += attacker.exchanges();
  };
  const auto releaseByPath = [&] {
    if (statusOf(tree + "/folder").isLink()) return;
    for (int i = 0; i < filesEach; ++i) {
      (void)protect(tree + "/folder/" + std::to_string(i), false);
    }
  };
  EXPECT_EQ(protect(precious, true, true), success);
  test::attack([&] { underAttack(false, releaseByPath); }, [&] { exchanges = 0; },
               [&] { underAttack(true, [&] { EXPECT_EQ(protect(tree, false, true), success); }); },
               [&] {
                 for (int i = 0; i < filesEach; ++i) {
                   if (!isImmutable("precious/" + std::to_string(i))) return false;
                 }
                 return true;
               });
  EXPECT_GT(exchanges, 0) << "nobody attacked";
}

}  // namespace
}  // namespace qrt
