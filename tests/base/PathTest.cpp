#include "base/Path.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(Path, TakenApart) {
  const struct {
    const char *path, *parent, *last, *extension, *withoutExtension;
  } cases[] = {{"/a/b.tar.gz//", "/a", "b.tar.gz", "gz", "/a/b.tar"},
               {"b.d/c", "b.d", "c", "", "b.d/c"},
               {"/.app", "/", ".app", "", "/.app"},
               {"/", "/", "/", "", "/"},
               {"a.", "", "a.", "", "a."},
               {"", "", "", "", ""}};
  for (const auto& [path, parent, last, extension, withoutExtension] : cases) {
    EXPECT_EQ(path::withoutLastComponent(path), parent) << path;
    EXPECT_EQ(path::lastComponent(path), last) << path;
    EXPECT_EQ(path::extension(path), extension) << path;
    EXPECT_EQ(path::withoutExtension(path), withoutExtension) << path;
  }
}

TEST(Path, RefusesNamesThatNoObjectCanHave) {
  using namespace std::string_view_literals;
  for (const auto name : {""sv, "."sv, ".."sv, "a/b"sv, "a\0b"sv}) {
    EXPECT_FALSE(path::isComponent(name)) << name;
  }
  EXPECT_TRUE(path::isComponent("...") && path::isComponent(".a"));
}

}  // namespace
}  // namespace qrt
