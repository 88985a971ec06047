#include "filesystem/objects/ExtendedAttributeAdditions.h"

#include "filesystem/OperationFixture.h"

namespace qrt {
namespace {

using namespace ExtendedAttributeAdditions;

using ExtendedAttributeAdditionsTest = test::OperationFixture;

TEST_F(ExtendedAttributeAdditionsTest, ReturnsTheNamesOfALinkWithTheValuesOfItsTarget) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make(
      "touch file; ln -s file link;"
      "attribute trusted.empty '' link; attribute trusted.empty '' file;"
      "attribute trusted.both link link; attribute trusted.both file file;"
      "attribute trusted.onLink l link; attribute trusted.onFile file file");
  const auto link = scratch_.path("link");
  const auto all = [&](bool notFollowing) {
    return *extendedAttributesForItemAtPath(platform_, link, notFollowing, false);
  };
  const auto remove = [&](const char* name) {
    return removeFromItemAtPath(platform_, link, name, true, false);
  };
  const Data value{'f', 'i', 'l', 'e'};
  EXPECT_EQ(all(true), (Dictionary{{"trusted.both", value}}));
  EXPECT_EQ(all(false), (Dictionary{{"trusted.both", value}, {"trusted.onFile", value}}));
  EXPECT_EQ(remove("trusted.onLink"), success);
  EXPECT_EQ(remove("trusted.onFile"), posixError(PosixCode::noAttribute, link));
  EXPECT_EQ(setForItemAtPath(platform_, link, value, "trusted.new", true), success);
  EXPECT_EQ(all(false).count("trusted.new"), 0u);
}

}  // namespace
}  // namespace qrt
