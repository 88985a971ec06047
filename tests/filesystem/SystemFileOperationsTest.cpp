#include "filesystem/SystemFileOperations.h"

#include <sys/resource.h>

#include "filesystem/OperationFixture.h"
#include "support/KillAtEveryCall.h"
#include "support/Mounts.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::contentsOf;
using test::statusOf;

constexpr auto keepBackup = false;
constexpr auto removeBackup = true;

class SystemFileOperationsTest : public test::OperationFixture {
 protected:
  Outcome overwrite(const std::string& path, const std::string& content, bool remove) {
    return perform("ModifySystemfile", {path, Data(content.begin(), content.end()), remove});
  }
};

TEST_F(SystemFileOperationsTest, NewContentsGetTheOldAttributes) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make(
      "mkdir a b; ln -s ../a/file b/link; ln -s b c; cd a; printf old > file;"
      "chown 1234:4321 file; chmod 6751 file; grant file");
  const auto file = scratch_.path("a/file");
  const auto list = scratch_.printedBy("lists a/file");
  const auto before = statusOf(file);
  const auto mask = umask(0777);
  EXPECT_EQ(overwrite(scratch_.path("c/link"), "new", keepBackup), success);
  EXPECT_EQ(umask(mask), 0777u) << "the mask was changed";
  EXPECT_TRUE(S_ISLNK(statusOf(scratch_.path("b/link")).st_mode));
  EXPECT_FALSE(test::exists(scratch_.path("b/link.backup")));

  EXPECT_EQ(contentsOf(file), "new");
  const auto after = statusOf(file);
  EXPECT_EQ(scratch_.printedBy("lists a/file"), list);
  EXPECT_EQ(std::tuple(after.st_mode, after.st_uid, after.st_gid),
            std::tuple(before.st_mode, 1234u, 4321u));
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
  EXPECT_EQ(statusOf(file + ".backup").st_ino, before.st_ino);

  EXPECT_EQ(overwrite(file, "", removeBackup), success);
  EXPECT_EQ(contentsOf(file), "");
  EXPECT_FALSE(test::exists(file + ".backup"));
}

TEST_F(SystemFileOperationsTest, TypeAndCreatorAreKeptAndOtherAttributesAreNot) {
  const auto file = scratch_.file("file");
  // "TYPE", "CREA", a flag and what else there may be.
  const auto record = "54595045435245414000" + std::string(44, '7');
  const auto set = "attribute user.other 1 file; setrecord " + record + " file";
  if (!scratch_.tryToMake(set)) GTEST_SKIP() << "needs attributes";
  EXPECT_EQ(overwrite(file, "new", keepBackup), success);
  EXPECT_EQ(scratch_.printedBy("record file"), "5459504543524541" + std::string(48, '0') + "\n");
  EXPECT_EQ(scratch_.printedBy("attributes file").find("other"), std::string::npos);
}

TEST_F(SystemFileOperationsTest, WhatCannotBeReplacedIsRefused) {
  scratch_.folder("folder");
  const std::pair<std::string, PosixCode> refused[] = {
      {"", PosixCode::invalidArgument},
      {scratch_.link("dangling", "nowhere"), PosixCode::noEntry},
      {scratch_.link("toFolder", "folder"), PosixCode::isDirectory},
      {std::string("/etc/hosts\0x", 12), PosixCode::noEntry}};
  for (const auto& [path, code] : refused) {
    EXPECT_EQ(overwrite(path, "new", keepBackup), posixError(code)) << path;
  }
  const auto file = scratch_.file("file", "old");
  EXPECT_EQ(SystemFileOperations::overwriteSystemFileAtPath(context_, file, nullptr, keepBackup),
            invalid_);
  EXPECT_EQ(contentsOf(file), "old");
}

TEST_F(SystemFileOperationsTest, OnlyAFolderBlocksThePlaceOfTheBackup) {
  const auto file = scratch_.file("file", "old"), backup = scratch_.folder("file.backup");
  expectError(overwrite(file, "new", keepBackup), 5, backup);
  EXPECT_EQ(contentsOf(file), "old");

  scratch_.make("rmdir file.backup; printf older > file.backup");
  EXPECT_EQ(overwrite(file, "new", keepBackup), success);
  EXPECT_EQ(contentsOf(backup), "old");
}

TEST_F(SystemFileOperationsTest, AProtectedFileIsAnErrorThatKeepsItsCause) {
  const auto file = scratch_.file("file", "old");
  if (!scratch_.changeFlags("file", "+i")) GTEST_SKIP() << "needs the right to set flags";
  const auto error = overwrite(file, "new", keepBackup);
  expectError(error, 16, file);
  EXPECT_EQ(error->userInfo.at("NSUnderlyingError").error()->code, 513);
  EXPECT_EQ(contentsOf(file), "old");
}

TEST_F(SystemFileOperationsTest, AFailedCreationReportsItsOwnCause) {
  const test::Mount full(test::Mount::Kind::memory, scratch_.folder("full"));
  if (!full.isMounted()) GTEST_SKIP() << "needs the right to mount";
  const auto file = scratch_.file("full/file", "old");
  scratch_.make(
      "mount -o remount,nr_inodes=5 full; i=0; while touch full/$i; do i=$((i + 1)); done");
  const auto error = overwrite(file, "new", keepBackup);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, cocoaErrorDomain);
  EXPECT_EQ(error->code, 640);
  EXPECT_EQ(*stringIn(error->userInfo, "NSFilePath"), file);
  EXPECT_EQ(contentsOf(test::exists(file) ? file : file + ".backup"), "old");
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
  const auto file = scratch_.path("file"), backup = file + ".backup";
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
