#include "AclText.h"
#include "filesystem/OperationFixture.h"
#include "support/Mounts.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::aclOf;

constexpr int list = 0x01, others = 0x02, group = 0x04, everything = 0x3f;

class PermissionOperationsTest : public test::OperationFixture {
 protected:
  PermissionOperationsTest() { use({.log = &log_}); }

  Outcome propagate(const std::string& folder, int options, int expectedCount = 0) {
    return perform("PropPermissions", {folder, expectedCount, false, options});
  }
  struct stat statusOf(const std::string& name) {
    return test::statusOf(scratch_.path(name));
  }

  test::RecordingLog log_;
};

TEST_F(PermissionOperationsTest, OnePassGivesOwnerBitsAndListOnEveryFileSystem) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make("mkdir outside volume; touch outside/target");
  const auto target = scratch_.path("outside/target");
  const test::Mount mount(test::Mount::Kind::ext4, scratch_.path("volume"));
  for (const std::string top : {"memory", "volume/top"}) {
    const auto path = scratch_.folder(top), folder = top + "/not\xff utf\x80",
               file = folder + "/file";
    scratch_.folder(folder);
    scratch_.file(file);
    scratch_.link(top + "/link", target);
    ASSERT_EQ(chown(path.c_str(), 77, 88), 0);
    ASSERT_EQ(chmod(path.c_str(), 0750), 0);
    ASSERT_TRUE(test::run({"setfacl", "-m", "u:9:rw,m::rwx", path}));
    EXPECT_EQ(propagate(path, everything), success);
    EXPECT_EQ(aclOf(scratch_.path(file)), "user::rw-,user:9:rw-,group::r--,mask::rwx,other::---");
    EXPECT_EQ(aclOf(target), "user::rw-,user:9:rw-,group::r--,mask::rwx,other::r--");
    for (const auto& name : {file, top + "/link"}) {
      EXPECT_EQ(statusOf(name).st_uid, 77u) << name;
      EXPECT_EQ(statusOf(name).st_gid, 88u) << name;
    }
    EXPECT_EQ(statusOf("outside/target").st_uid, 0u);
    // What is as wanted is left alone, however protected; without a list there, lists go.
    EXPECT_TRUE(scratch_.changeFlags(file, "+i"));
    EXPECT_EQ(propagate(path, everything), success);
    ASSERT_TRUE(test::run({"setfacl", "-b", path}));
    const auto refused = propagate(path, list);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->code, 12);
    EXPECT_EQ(refused->userInfo.at("NSFilePath"), PropertyValue(scratch_.path(file)));
    EXPECT_EQ(refused->userInfo.at("NSUnderlyingError").error()->code, 1);
    EXPECT_TRUE(scratch_.changeFlags(file, "-i"));
    EXPECT_EQ(propagate(path, list), success);
    EXPECT_EQ(aclOf(scratch_.path(file)), "user::rw-,group::r--,other::---");
  }
}

TEST_F(PermissionOperationsTest, ATooDeepTreeIsChangedDownToTheLimit) {
  auto deep = scratch_.folder("top");
  for (int level = 1; level <= 501; ++level) ASSERT_EQ(mkdir((deep += "/d").c_str(), 0755), 0);
  ASSERT_EQ(chmod(scratch_.path("top").c_str(), 0700), 0);
  EXPECT_EQ(propagate(scratch_.path("top"), group | others), success);
  EXPECT_EQ(test::statusOf(deep).st_mode, S_IFDIR | 0755u);
  deep.resize(deep.size() - 2);
  EXPECT_EQ(test::statusOf(deep).st_mode, S_IFDIR | 0700u);
  const test::RecordingLog::Line line{
      LogLevel::standard,
      "QRTDirectoryEnumerator: maximum number of nested directories reached. Skipping..."};
  EXPECT_THAT(log_.lines(), testing::ElementsAre(line));
}

TEST_F(PermissionOperationsTest, AListGoesToTheTargetOfALink) {
  const auto file = scratch_.file("file");
  const auto given = *platform_.accessControl.externalized(
      *platform_.accessControl.fromText("u::-,u:77:rw,g::-,m::rw,o::-"));
  EXPECT_EQ(perform("ModifyAcl", {scratch_.link("link", "file"), given}), success);
  EXPECT_EQ(aclOf(file), "user::rw-,user:77:rw-,group::r--,mask::rw-,other::r--");
  EXPECT_EQ(perform("ModifyAcl", {file, Data{'x'}}), invalid_);
}

}  // namespace
}  // namespace qrt
