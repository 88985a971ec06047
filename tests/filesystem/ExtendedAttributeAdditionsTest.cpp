#include "filesystem/ExtendedAttributeAdditions.h"

#include "support/ItemFixture.h"

namespace qrt {
namespace {

using namespace ExtendedAttributeAdditions;

class ExtendedAttributeAdditionsTest : public test::ItemFixture {
 protected:
  Result<Dictionary> all(const std::string& path, bool notFollowing = false) {
    return extendedAttributesForItemAtPath(context_, path, notFollowing, false);
  }

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

TEST_F(ExtendedAttributeAdditionsTest, ALinksNamesComeWithItsTargetsValues) {
  const auto file = scratch_.file("file");
  const auto link = scratch_.link("link", "file");
  scratch_.make(
      "setfattr -h -n trusted.empty link; setfattr -n trusted.empty file;"
      "setfattr -h -n trusted.both -v link link; setfattr -n trusted.both -v file file;"
      "setfattr -h -n trusted.onLink -v l link; setfattr -n trusted.onFile -v file file");
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
