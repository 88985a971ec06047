#include "filesystem/PermissionOperations.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "operations/PrivilegedOperationError.h"
#include "platform/NativePlatform.h"
#include "support/AclText.h"
#include "support/FakeFeedback.h"
#include "support/Mounts.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::aclOf;

constexpr int list = 0x01, others = 0x02, group = 0x04, owner = 0x08, everything = 0x3f;

class PermissionOperationsTest : public testing::Test {
 protected:
  Outcome propagate(const std::string& folder, int options, int expectedCount = 0,
                    bool stayOnFileSystem = false) {
    feedback_.messages.clear();
    const auto connection = feedback_.connect();
    return PermissionOperations::performOperationPropPermissionsWithArguments(
        context_, log_, {folder, expectedCount, stayOnFileSystem, options}, connection.get());
  }
  Outcome modify(const std::string& path, const Data& externalForm) {
    return PermissionOperations::performOperationModifyAclWithArguments(context_,
                                                                        {path, externalForm});
  }
  FileStatus statusOf(const std::string& name) {
    return *context_.files.status(scratch_.path(name).c_str(), Links::stay);
  }
  unsigned modeOf(const std::string& name) { return statusOf(name).mode & 07777; }
  void changeMode(const std::string& name, mode_t mode) {
    ASSERT_EQ(chmod(scratch_.path(name).c_str(), mode), 0) << name;
  }

  /// Ends with code and cause, and tells the object and the end of the work.
  void expectFailure(const Outcome& outcome, int code, int cause, const std::string& name) {
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->code, code);
    EXPECT_EQ(outcome->userInfo.at("NSFilePath"), PropertyValue(scratch_.path(name)));
    if (code != cause) {
      EXPECT_EQ(outcome->userInfo.at("NSUnderlyingError").error()->code, cause);
    }
    EXPECT_EQ(feedback_.messages.back().at("ProgressFraction").number()->asDouble(), 1.0);
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  const ItemContext context_{platform_.facilities()};
  test::RecordingLog log_;
  test::FakeFeedback feedback_;
};

TEST_F(PermissionOperationsTest, FoldersGetAllBitsAndOthersKeepTheirExecuteBits) {
  scratch_.folder("top");
  scratch_.folder("top/folder");
  scratch_.file("top/file");
  ASSERT_EQ(mknod(scratch_.path("top/socket").c_str(), S_IFSOCK | 0666, 0), 0);
  const struct {
    int options;
    mode_t top, folderBefore, folderAfter, fileBefore, fileAfter;
  } cases[] = {
      {owner, 0700, 0555, 0755, 0444, 0644},    {group, 0070, 05707, 05777, 0111, 0171},
      {others, 0005, 0772, 0775, 04772, 04774}, {owner | others, 0, 0777, 0070, 0777, 0171},
      {0, 0, 0751, 0751, 0642, 0642},           {group, 07020, 0, 0020, 01000, 01020}};
  for (const auto& row : cases) {
    changeMode("top", row.top);
    changeMode("top/folder", row.folderBefore);
    changeMode("top/socket", row.folderBefore);
    changeMode("top/file", row.fileBefore);
    EXPECT_EQ(propagate(scratch_.path("top"), row.options), success);
    EXPECT_EQ(modeOf("top"), row.top);
    EXPECT_EQ(modeOf("top/folder"), row.folderAfter) << row.options;
    EXPECT_EQ(modeOf("top/socket"), row.folderAfter) << row.options;
    EXPECT_EQ(modeOf("top/file"), row.fileAfter) << row.options;
  }
}

TEST_F(PermissionOperationsTest, OnePassGivesOwnerBitsAndListOnEveryFileSystem) {
  scratch_.folder("outside");
  const auto target = scratch_.file("outside/target");
  const test::Mount mount(test::Mount::Kind::ext4, scratch_.folder("volume"));
  for (const std::string top : {"memory", "volume/top"}) {
    scratch_.folder(top);
    scratch_.folder(top + "/not\xff utf\x80");
    scratch_.file(top + "/not\xff utf\x80/file");
    scratch_.link(top + "/link", target);
    ASSERT_EQ(chown(scratch_.path(top).c_str(), 77, 88), 0);
    changeMode(top, 0750);
    ASSERT_TRUE(test::run({"setfacl", "-m", "u:9:rw,m::rwx", scratch_.path(top)}));
    EXPECT_EQ(propagate(scratch_.path(top), everything), success);
    const auto file = top + "/not\xff utf\x80/file";
    EXPECT_EQ(aclOf(scratch_.path(file)), "user::rw-,user:9:rw-,group::r--,mask::rwx,other::---");
    EXPECT_EQ(aclOf(target), "user::rw-,user:9:rw-,group::r--,mask::rwx,other::r--");
    for (const auto& name : {file, top + "/link"}) {
      EXPECT_EQ(statusOf(name).userID, 77u) << name;
      EXPECT_EQ(statusOf(name).groupID, 88u) << name;
    }
    EXPECT_EQ(statusOf("outside/target").userID, 0u);
    // What is as wanted is left alone, however protected; without a list there, lists go.
    EXPECT_TRUE(scratch_.changeFlags(file, "+i"));
    EXPECT_EQ(propagate(scratch_.path(top), everything), success);
    ASSERT_TRUE(test::run({"setfacl", "-b", scratch_.path(top)}));
    expectFailure(propagate(scratch_.path(top), list), 12, 1, file);
    EXPECT_TRUE(scratch_.changeFlags(file, "-i"));
    EXPECT_EQ(propagate(scratch_.path(top), list), success);
    EXPECT_EQ(aclOf(scratch_.path(file)), "user::rw-,group::r--,other::---");
  }
}

TEST_F(PermissionOperationsTest, TheFirstFailureEndsItAndIsTold) {
  scratch_.folder("top");
  scratch_.folder("top/folder");
  const auto top = scratch_.path("top");
  scratch_.file("top/folder/program");
  changeMode("top/folder/program", 02755);
  expectFailure(propagate(top, 0x10), 22, 22, "top/folder/program");
  EXPECT_EQ(propagate(top, owner), success);
  ASSERT_TRUE(scratch_.changeFlags("top/folder/program", "+i"));
  changeMode("top", 0555);
  expectFailure(propagate(top, owner), 15, 1, "top/folder/program");
  ASSERT_TRUE(scratch_.changeFlags("top/folder/program", "-i"));
  scratch_.link("top/folder/dangling", "nowhere");
  EXPECT_EQ(propagate(top, owner), success);
  expectFailure(propagate(top, list), 12, 2, "top/folder/dangling");
  ASSERT_EQ(unlink(scratch_.path("top/folder/dangling").c_str()), 0);
  changeMode("top/folder/program", 0755);
  ASSERT_TRUE(scratch_.changeFlags("top/folder/program", "+a"));
  ASSERT_EQ(chown(top.c_str(), 5, 0), 0);
  expectFailure(propagate(top, 0x20), 14, 1, "top/folder/program");

  const std::pair<std::string, PosixCode> refused[] = {
      {"", PosixCode::invalidArgument},
      {scratch_.path("missing"), PosixCode::noEntry},
      {scratch_.path("top/folder/program"), PosixCode::notDirectory}};
  for (const auto& [path, code] : refused) {
    EXPECT_EQ(propagate(path, everything), posixError(code)) << path;
    EXPECT_TRUE(feedback_.messages.empty());
  }
}

TEST_F(PermissionOperationsTest, ProgressIsToldNowAndThenAndVolumesCanBeLeftAlone) {
  scratch_.folder("top");
  const test::Mount mount(test::Mount::Kind::memory, scratch_.folder("top/volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  scratch_.file("top/volume/file");
  for (int i = 0; i < 199; ++i) scratch_.file("top/file" + std::to_string(i));
  const auto fractions = [this](int options, int expectedCount, bool stay) {
    EXPECT_EQ(propagate(scratch_.path("top"), options, expectedCount, stay), success);
    std::vector<double> told;
    for (const auto& message : feedback_.messages) {
      told.push_back(message.at("ProgressFraction").number()->asDouble());
    }
    return told;
  };
  EXPECT_EQ(fractions(0, 0, false), (std::vector<double>{100, 200, 1}));
  changeMode("top", 0711);
  EXPECT_EQ(fractions(others, 400, true), (std::vector<double>{0.25, 0.5, 1}));
  EXPECT_EQ(modeOf("top/volume"), 01771u);
  EXPECT_EQ(modeOf("top/volume/file"), 0644u);
}

TEST_F(PermissionOperationsTest, AHierarchyThatIsTooDeepIsDoneToItsLimit) {
  auto deep = scratch_.folder("top");
  for (int level = 1; level <= 501; ++level) ASSERT_EQ(mkdir((deep += "/d").c_str(), 0755), 0);
  changeMode("top", 0700);
  EXPECT_EQ(propagate(scratch_.path("top"), group | others), success);
  EXPECT_EQ(context_.files.status(deep.c_str(), Links::stay)->mode, S_IFDIR | 0755u);
  deep.resize(deep.size() - 2);
  EXPECT_EQ(context_.files.status(deep.c_str(), Links::stay)->mode, S_IFDIR | 0700u);
  ASSERT_EQ(log_.lines().size(), 1u);
  EXPECT_NE(log_.lines()[0].text.find("nested directories"), std::string::npos);
}

TEST_F(PermissionOperationsTest, AListIsGivenToWhatThePathLeadsTo) {
  const auto file = scratch_.file("file");
  const auto given = *context_.accessControl.externalized(
      *context_.accessControl.fromText("u::-,u:77:rw,g::-,m::rw,o::-"));
  EXPECT_EQ(modify(scratch_.link("link", "file"), given), success);
  EXPECT_EQ(aclOf(file), "user::rw-,user:77:rw-,group::r--,mask::rw-,other::r--");
  const auto invalid = posixError(PosixCode::invalidArgument);
  EXPECT_EQ(modify("", given), invalid);
  EXPECT_EQ(modify(file, {}), invalid);
  EXPECT_EQ(modify(file, {'x'}), invalid);
  EXPECT_EQ(modify(scratch_.link("dangling", "nowhere"), given), posixError(PosixCode::noEntry));
  EXPECT_EQ(modify(file + std::string("\0", 1), given), posixError(PosixCode::noEntry));
}

}  // namespace
}  // namespace qrt
