#include "filesystem/SystemFileOperations.h"

#include <sys/resource.h>

#include "operations/PrivilegedOperationError.h"
#include "support/AclText.h"
#include "support/ItemFixture.h"
#include "support/KillAtEveryCall.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::contentsOf;
using test::statusOf;

constexpr auto keepBackup = false;
constexpr auto removeBackup = true;

class SystemFileOperationsTest : public test::ItemFixture {
 protected:
  Outcome overwrite(const std::string& path, const std::string& content, bool remove) {
    return SystemFileOperations::performOperationModifySystemfileWithArguments(
        context_, {path, Data(content.begin(), content.end()), remove});
  }
};

TEST_F(SystemFileOperationsTest, NewContentsGetTheOldAttributes) {
  const auto file = scratch_.file("hosts", "old");
  ASSERT_EQ(chown(file.c_str(), 1234, 4321), 0);
  ASSERT_EQ(chmod(file.c_str(), 06751), 0);
  ASSERT_TRUE(test::run({"setfacl", "-m", "u:77:rwx,g::-", file}));
  const auto list = test::aclOf(file);
  const auto before = statusOf(file);
  const auto mask = umask(0777);
  EXPECT_EQ(overwrite(file, "new", keepBackup), success);
  EXPECT_EQ(umask(mask), 0777u) << "the mask was changed";

  EXPECT_EQ(contentsOf(file), "new");
  const auto after = statusOf(file);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(test::aclOf(file), list);
  EXPECT_EQ(after.st_uid, 1234u);
  EXPECT_EQ(after.st_gid, 4321u);
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
  EXPECT_EQ(statusOf(file + ".backup").st_ino, before.st_ino);

  EXPECT_EQ(overwrite(file, "", removeBackup), success);
  EXPECT_EQ(contentsOf(file), "");
  EXPECT_FALSE(test::exists(file + ".backup"));
}

TEST_F(SystemFileOperationsTest, TypeAndCreatorAreKeptAndOtherAttributesAreNot) {
  const auto file = scratch_.file("file");
  const auto set = [&](const std::string& name, const std::string& value) {
    return test::run({"setfattr", "-n", name, "-v", value, file});
  };
  const std::string record =
      "0x" + std::string("54595045") + "43524541" + "4000" + std::string(44, '7');
  if (!set("user.com.apple.FinderInfo", record) || !set("user.other", "1")) {
    GTEST_SKIP() << "needs attributes";
  }
  EXPECT_EQ(overwrite(file, "new", keepBackup), success);
  EXPECT_EQ(context_.attributes.names(file.c_str(), Links::stay, Compression::hidden).value(),
            std::vector<std::string>{"com.apple.FinderInfo"});
  Data codes{'T', 'Y', 'P', 'E', 'C', 'R', 'E', 'A'};
  codes.resize(32);
  EXPECT_EQ(context_.attributes.value(file.c_str(), Links::stay, "com.apple.FinderInfo").value(),
            codes);
}

TEST_F(SystemFileOperationsTest, WhatCannotBeReplacedIsRefused) {
  const auto folder = scratch_.folder("folder");
  const auto dangling = scratch_.link("dangling", "nowhere");
  const struct {
    std::string path;
    PosixCode code;
  } cases[] = {{"", PosixCode::invalidArgument},
               {scratch_.path("missing"), PosixCode::noEntry},
               {dangling, PosixCode::noEntry},
               {folder, PosixCode::isDirectory},
               {scratch_.link("toFolder", folder), PosixCode::isDirectory},
               {std::string("/etc/hosts\0x", 12), PosixCode::noEntry}};
  for (const auto& refused : cases) {
    EXPECT_EQ(overwrite(refused.path, "new", keepBackup), posixError(refused.code)) << refused.path;
  }
  const auto file = scratch_.file("file", "old");
  EXPECT_EQ(SystemFileOperations::overwriteSystemFileAtPath(context_, file, nullptr, keepBackup),
            posixError(PosixCode::invalidArgument));
  EXPECT_EQ(contentsOf(file), "old");
}

TEST_F(SystemFileOperationsTest, LinksAreFollowedAndTheBackupIsBesideTheTarget) {
  scratch_.make("mkdir a b");
  const auto file = scratch_.file("a/file", "old");
  scratch_.make("ln -s ../a/file b/link; ln -s b c");
  EXPECT_EQ(overwrite(scratch_.path("c/link"), "new", keepBackup), success);
  EXPECT_EQ(contentsOf(file), "new");
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
  EXPECT_TRUE(S_ISLNK(statusOf(scratch_.path("b/link")).st_mode));
  EXPECT_FALSE(test::exists(scratch_.path("b/link.backup")));
}

TEST_F(SystemFileOperationsTest, OnlyAFolderBlocksThePlaceOfTheBackup) {
  const auto file = scratch_.file("file", "old");
  scratch_.folder("file.backup");
  const auto error = overwrite(file, "new", keepBackup);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, privilegedOperationErrorDomain);
  EXPECT_EQ(error->code, 5);
  EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), file + ".backup");
  EXPECT_EQ(error->userInfo.at("QRTLocalizedRecoverySuggestionParameters"),
            PropertyValue(Array{file + ".backup"}));
  EXPECT_EQ(contentsOf(file), "old");

  ASSERT_EQ(rmdir((file + ".backup").c_str()), 0);
  scratch_.file("file.backup", "older");
  EXPECT_EQ(overwrite(file, "new", keepBackup), success);
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
}

TEST_F(SystemFileOperationsTest, AProtectedFileIsAnErrorThatKeepsItsCause) {
  const auto file = scratch_.file("file", "old");
  if (!scratch_.changeFlags("file", "+i")) GTEST_SKIP() << "needs the right to set flags";
  const auto error = overwrite(file, "new", keepBackup);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, 16);
  EXPECT_EQ(*stringIn(error->userInfo, filePathErrorKey), file);
  EXPECT_EQ(error->userInfo.at("NSUnderlyingError").error()->code, 513);
  EXPECT_EQ(contentsOf(file), "old");
}

TEST_F(SystemFileOperationsTest, AFailedWriteIsNotToldButKeepsTheBackup) {
  const auto file = scratch_.file("file", "old");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  // Files of this process may not grow beyond 4 bytes.
  const auto child = fork();
  if (child == 0) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit few{4, 4};
    setrlimit(RLIMIT_FSIZE, &few);
    _exit(overwrite(file, "longer than four", removeBackup) ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(contentsOf(file), "long");
  EXPECT_EQ(statusOf(file).st_mode & 07777, 0640u);
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
}

TEST_F(SystemFileOperationsTest, TheOldContentsAreReachableWheneverTheProcessIsKilled) {
  const auto file = scratch_.path("file");
  const auto backup = file + ".backup";
  const std::string content(100000, 'n');
  for (const bool remove : {keepBackup, removeBackup}) {
    const auto kills = test::killAtEveryCall(
        [&] {
          scratch_.file("file", "old");
          ASSERT_EQ(chmod(file.c_str(), 0640), 0);
          scratch_.file("file.backup", "older");
        },
        [&] { (void)overwrite(file, content, remove); },
        [&](int stop) {
          const bool isDone = contentsOf(file) == content &&
                              (statusOf(file).st_mode & 07777) == 0640 && !test::exists(backup);
          EXPECT_TRUE(contentsOf(file) == "old" || contentsOf(backup) == "old" ||
                      (remove && isDone))
              << "killed at stop " << stop;
        });
    EXPECT_GT(kills, 20);
  }
}

}  // namespace
}  // namespace qrt
