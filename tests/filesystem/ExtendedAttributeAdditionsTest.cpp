#include "filesystem/objects/ExtendedAttributeAdditions.h"

#include "support/ItemFixture.h"

namespace qrt {
namespace {

using namespace ExtendedAttributeAdditions;

class ExtendedAttributeAdditionsTest : public test::ItemFixture {
 protected:
  Result<Dictionary> all(const std::string& path, bool notFollowing = false) {
    return extendedAttributesForItemAtPath(platform_, path, notFollowing, false);
  }
  Outcome set(const std::string& path, const Data& value, const std::string& name) {
    return setForItemAtPath(platform_, path, value, name, true);
  }
  Outcome remove(const std::string& path, const std::string& name) {
    return removeFromItemAtPath(platform_, path, name, true, false);
  }

  const Data value_{'v'};
};

TEST_F(ExtendedAttributeAdditionsTest, RefusesEmptyArgumentsAndMissingObjects) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto file = scratch_.file("file");
  const auto invalid = posixError(PosixCode::invalidArgument);
  EXPECT_EQ(all("").error(), invalid);
  EXPECT_EQ(set("", value_, "trusted.x"), invalid);
  EXPECT_EQ(set(file, {}, "trusted.x"), invalid);
  EXPECT_EQ(set(file, value_, ""), invalid);
  EXPECT_EQ(remove("", "trusted.x"), invalid);
  EXPECT_EQ(remove(file, ""), invalid);
  EXPECT_EQ(remove(file, "trusted.x"), posixError(PosixCode::noAttribute, file));

  for (const auto& path : {scratch_.path("missing"), scratch_.link("dangling", "nowhere")}) {
    const auto missing = posixError(PosixCode::noEntry, path);
    EXPECT_EQ(all(path, true).error(), missing);
    EXPECT_EQ(set(path, value_, "trusted.x"), missing);
    EXPECT_EQ(remove(path, "trusted.x"), missing);
  }
}

TEST_F(ExtendedAttributeAdditionsTest, ReturnsTheNamesOfALinkWithTheValuesOfItsTarget) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make(
      "touch file; ln -s file link;"
      "attribute trusted.empty '' link; attribute trusted.empty '' file;"
      "attribute trusted.both link link; attribute trusted.both file file;"
      "attribute trusted.onLink l link; attribute trusted.onFile file file");
  const auto file = scratch_.path("file"), link = scratch_.path("link");
  const Data value{'f', 'i', 'l', 'e'};
  EXPECT_EQ(*all(link, true), (Dictionary{{"trusted.both", value}}));
  EXPECT_EQ(*all(link, false), (Dictionary{{"trusted.both", value}, {"trusted.onFile", value}}));

  EXPECT_EQ(remove(link, "trusted.onLink"), success);
  EXPECT_EQ(remove(link, "trusted.onFile"), posixError(PosixCode::noAttribute, link));
  EXPECT_EQ(set(link, value_, "trusted.new"), success);
  EXPECT_EQ(all(file)->count("trusted.new"), 0u);
}

}  // namespace
}  // namespace qrt
