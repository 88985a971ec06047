// What only this system's tools can set up: extended lists, attributes of links, flags, a second
// volume.
#include <sys/xattr.h>

#include "filesystem/OperationFixture.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

class NativeObjectsTest : public test::OperationFixture {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
  }
  std::string lists(const std::string& name) const { return scratch_.printedBy("lists " + name); }
  std::string attributes(const std::string& name) const {
    return scratch_.printedBy("attributes " + name);
  }
};

TEST_F(NativeObjectsTest, PropagationGivesTheFoldersListAndModifyAclReplacesIt) {
  scratch_.make("mkdir -p top/inner; touch top/inner/file; grant top");
  constexpr int list = 0x01;
  EXPECT_EQ(perform("PropPermissions", {scratch_.path("top"), 0, false, list}), success);
  EXPECT_NE(lists("top/inner/file").find("everyone"), std::string::npos);
  EXPECT_NE(lists("top/inner/file").find("inherited"), std::string::npos);
  const auto none = *platform_.accessControl.externalized(std::nullopt);
  EXPECT_EQ(perform("ModifyAcl", {scratch_.path("top/inner/file"), none}), success);
  EXPECT_EQ(lists("top/inner/file"), "");
}

TEST_F(NativeObjectsTest, AMoveToAnotherVolumeKeepsListsAttributesAndFlags) {
  const test::Mount mount(test::Mount::Kind::memory, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  scratch_.make(
      "mkdir -p tree/inner; printf text > tree/inner/file; ln -s file tree/inner/link;"
      "grant tree/inner/file; attribute com.vantor.note value tree/inner/file;"
      "attribute com.vantor.note link tree/inner/link; flag i tree/inner/file");
  const auto before =
      lists("tree/inner/file") + attributes("tree/inner/file") + attributes("tree/inner/link");
  EXPECT_EQ(perform("RenameFileobject", {scratch_.path("tree"), scratch_.path("volume/tree")}),
            success);
  EXPECT_FALSE(test::exists(scratch_.path("tree")));
  EXPECT_EQ(test::statusOf(scratch_.path("volume/tree/inner/file")).st_flags & UF_IMMUTABLE,
            static_cast<unsigned>(UF_IMMUTABLE));
  scratch_.make("test \"$(cat volume/tree/inner/file)\" = text");
  auto after = lists("volume/tree/inner/file") + attributes("volume/tree/inner/file") +
               attributes("volume/tree/inner/link");
  for (auto at = after.find("volume/"); at != after.npos; at = after.find("volume/")) {
    after.erase(at, std::string("volume/").size());
  }
  EXPECT_EQ(after, before);
  scratch_.make("unflag volume/tree");
}

TEST_F(NativeObjectsTest, RecursiveRemovalGetsPastFlagsAndLists) {
  scratch_.make(
      "mkdir -p top/inner; touch top/inner/file; chmod +a 'everyone deny delete' top/inner/file;"
      "flag i top/inner/file; flag a top/inner; chflags hidden top");
  EXPECT_EQ(perform("DeleteFileobjects", {"1", "1", scratch_.path("top")}), success);
  EXPECT_FALSE(test::exists(scratch_.path("top")));
}

TEST_F(NativeObjectsTest, FoundObjectsAreReportedWithoutPrivate) {
  const test::ScratchFolder folder("/private/tmp");
  folder.file("found");
  EXPECT_EQ(perform("SearchFilenames", {folder.path(), "found", "", false}), success);
  const auto path = folder.path("found").substr(std::string("/private").size());
  ASSERT_EQ(records().size(), 1u);
  EXPECT_EQ(records()[0].dictionary()->at("Path"), PropertyValue(path));
}

TEST_F(NativeObjectsTest, ClassicAttributesAreThoseThatTheFinderReads) {
  const auto file = scratch_.file("file");
  EXPECT_EQ(perform("ModifyHfsattr", {file, 0x54595045, 0x43524541, 1}), success);
  EXPECT_EQ(scratch_.printedBy("record file").substr(0, 16), "5459504543524541");
  EXPECT_EQ(test::statusOf(file).st_flags & UF_HIDDEN, static_cast<unsigned>(UF_HIDDEN));
}

}  // namespace
}  // namespace qrt
