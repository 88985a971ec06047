#include "filesystem/SystemFileOperations.h"

#include <sys/resource.h>

#include "filesystem/OperationFixture.h"
#include "support/PlantedFile.h"
#include "support/SteppedChild.h"

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
  std::string names() const { return test::printed("ls -A '" + scratch_.path() + "'"); }
};

TEST_F(SystemFileOperationsTest, NewContentsGetTheOldAttributes) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make(
      "mkdir a b; ln -s ../a/file b/link; ln -s b c; cd a; printf old > file;"
      "chown 1234:4321 file; chmod 6751 file; grant file");
  const auto file = scratch_.path("a/file");
  const auto list = scratch_.printedBy("lists a/file");
  const auto before = statusOf(file);
  EXPECT_EQ(overwrite(scratch_.path("c/link"), "new", keepBackup), success);
  EXPECT_EQ(contentsOf(file), "new");
  const auto after = statusOf(file);
  EXPECT_EQ(scratch_.printedBy("lists a/file"), list);
  EXPECT_EQ(std::tuple(after.st_mode, after.st_uid, after.st_gid),
            std::tuple(before.st_mode, 1234u, 4321u));
  EXPECT_NE(after.st_ino, before.st_ino);
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
  EXPECT_EQ(statusOf(file + ".backup").st_ino, before.st_ino);
}

TEST_F(SystemFileOperationsTest, RefusesPathsThatAreNotFiles) {
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
  EXPECT_EQ(SystemFileOperations::overwriteSystemFileAtPath(platform_, file, nullptr, keepBackup),
            invalid_);
  EXPECT_EQ(contentsOf(file), "old");
}

TEST_F(SystemFileOperationsTest, AFailedWriteIsNotReportedAndTheOldFileIsItsOwnBackup) {
  const auto file = scratch_.file("file", "old");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  test::SteppedChild child([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit few{4, 4};
    setrlimit(RLIMIT_FSIZE, &few);
    return overwrite(file, "longer than four", removeBackup) == success;
  });
  EXPECT_TRUE(child.finish());
  EXPECT_EQ(contentsOf(file), "old");
  EXPECT_EQ(statusOf(file).st_mode & 07777, 0640u);
  EXPECT_EQ(contentsOf(file + ".backup"), "old");
  EXPECT_EQ(names(), "file\nfile.backup\n");
}

TEST_F(SystemFileOperationsTest, RemovesOnlyItsOwnLeftovers) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const char* const kept[] = {"mkdir $NAME",
                              "ln -s file $NAME",
                              "mkfifo $NAME",
                              "ln file $NAME",
                              "touch $NAME; chown 1234 $NAME",
                              "touch ${NAME}0",
                              "touch .other.new-0"};
  const std::string prepare =
      "rm -rf file* .[a-z]*; printf old > file; NAME=.file.new-0123456789abcdef; ";
  for (const std::string script : kept) {
    scratch_.make(prepare + script);
    const auto before = names();
    EXPECT_EQ(overwrite(scratch_.path("file"), "new", removeBackup), success);
    EXPECT_EQ(names(), before) << script;
  }
  scratch_.make(prepare + "touch $NAME");
  EXPECT_EQ(overwrite(scratch_.path("file"), "new", removeBackup), success);
  EXPECT_EQ(names(), "file\n");
}

}  // namespace
}  // namespace qrt
