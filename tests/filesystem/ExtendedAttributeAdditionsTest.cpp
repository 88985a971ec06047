#include "filesystem/ExtendedAttributeAdditions.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/NativePlatform.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using namespace ExtendedAttributeAdditions;

class ExtendedAttributeAdditionsTest : public testing::Test {
 protected:
  /// Attributes that every memory file system keeps, also on links.
  void plant(const std::string& name, const std::string& value, const std::string& path) {
    ASSERT_TRUE(test::run({"setfattr", "-h", "-n", "trusted." + name, "-v", value, path}));
  }
  Result<Dictionary> all(const std::string& path, bool notFollowing = false) {
    return extendedAttributesForItemAtPath(context_, path, notFollowing, false);
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  const ItemContext context_{platform_.facilities()};
  const Data value_{'v'};
  const std::string name_ = "trusted.name";
};

TEST_F(ExtendedAttributeAdditionsTest, EmptyArgumentsAreInvalidAndMissingObjectsAreTold) {
  const auto file = scratch_.file("file");
  const auto invalid = posixError(PosixCode::invalidArgument);
  EXPECT_EQ(all("").error(), invalid);
  EXPECT_EQ(setForItemAtPath(context_, "", value_, name_, false), invalid);
  EXPECT_EQ(setForItemAtPath(context_, file, {}, name_, false), invalid);
  EXPECT_EQ(setForItemAtPath(context_, file, value_, "", false), invalid);
  EXPECT_EQ(removeFromItemAtPath(context_, "", name_, false, false), invalid);
  EXPECT_EQ(removeFromItemAtPath(context_, file, "", false, false), invalid);

  const auto dangling = scratch_.link("dangling", "nowhere");
  for (const auto& path : {scratch_.path("missing"), dangling}) {
    const auto missing = posixError(PosixCode::noEntry, path);
    EXPECT_EQ(all(path, true).error(), missing);
    EXPECT_EQ(setForItemAtPath(context_, path, value_, name_, true), missing);
    EXPECT_EQ(removeFromItemAtPath(context_, path, name_, true, true), missing);
  }
  EXPECT_EQ(removeFromItemAtPath(context_, file, name_, false, false),
            posixError(PosixCode::noAttribute, file));
}

TEST_F(ExtendedAttributeAdditionsTest, AttributesAreSetReadAndRemoved) {
  const auto file = scratch_.file("file");
  EXPECT_EQ(*all(file), Dictionary());
  EXPECT_EQ(setForItemAtPath(context_, file, {0, 1, 0xFF}, name_, false), success);
  EXPECT_EQ(setForItemAtPath(context_, file, value_, "trusted.other", false), success);
  EXPECT_TRUE(test::run({"setfattr", "-n", "trusted.empty", file}));
  EXPECT_EQ(*all(file), (Dictionary{{name_, Data{0, 1, 0xFF}}, {"trusted.other", value_}}));
  EXPECT_EQ(removeFromItemAtPath(context_, file, name_, false, false), success);
  EXPECT_EQ(*all(file), (Dictionary{{"trusted.other", value_}}));
}

TEST_F(ExtendedAttributeAdditionsTest, ALinksNamesComeWithItsTargetsValues) {
  const auto file = scratch_.file("file");
  const auto link = scratch_.link("link", "file");
  plant("both", "link", link);
  plant("both", "file", file);
  plant("onLink", "link", link);
  plant("onFile", "file", file);
  const Data value{'f', 'i', 'l', 'e'};
  EXPECT_EQ(*all(link, true), (Dictionary{{"trusted.both", value}}));
  EXPECT_EQ(*all(link, false), (Dictionary{{"trusted.both", value}, {"trusted.onFile", value}}));

  EXPECT_EQ(removeFromItemAtPath(context_, link, "trusted.onLink", true, false), success);
  EXPECT_EQ(removeFromItemAtPath(context_, link, "trusted.onFile", true, false),
            posixError(PosixCode::noAttribute, link));
  EXPECT_EQ(setForItemAtPath(context_, link, value_, "trusted.new", true), success);
  EXPECT_EQ(all(file)->count("trusted.new"), 0u);
}

}  // namespace
}  // namespace qrt
