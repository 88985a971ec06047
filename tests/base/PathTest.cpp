#include "base/Path.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(Path, TakenApart) {
  struct Case {
    const char *path, *parent, *last, *extension, *withoutExtension;
  };
  for (const auto& c :
       {Case{"/a/b.txt", "/a", "b.txt", "txt", "/a/b"},
        Case{"/a/b.txt//", "/a", "b.txt", "txt", "/a/b"}, Case{"/a.d/b", "/a.d", "b", "", "/a.d/b"},
        Case{"b.tar.gz", "", "b.tar.gz", "gz", "b.tar"}, Case{"/.app", "/", ".app", "", "/.app"},
        Case{"/", "/", "/", "", "/"}, Case{"a.", "", "a.", "", "a."}, Case{"", "", "", "", ""}}) {
    EXPECT_EQ(path::withoutLastComponent(c.path), c.parent) << c.path;
    EXPECT_EQ(path::lastComponent(c.path), c.last) << c.path;
    EXPECT_EQ(path::extension(c.path), c.extension) << c.path;
    EXPECT_EQ(path::withoutExtension(c.path), c.withoutExtension) << c.path;
  }
}

TEST(Path, PutTogether) {
  struct Case {
    const char *folder, *component, *path;
  };
  for (const auto& c : {Case{"/a", "b", "/a/b"}, Case{"/a//", "//b/", "/a/b"}, Case{"/", "b", "/b"},
                        Case{"", "/b", "/b"}, Case{"", "b", "b"}, Case{"/a", "", "/a"},
                        Case{"/a", "/", "/a"}, Case{"a", "b/c", "a/b/c"}}) {
    EXPECT_EQ(path::appending(c.folder, c.component), c.path);
  }
  EXPECT_EQ(path::below("/a/", "b"), "/a/b");
  EXPECT_EQ(path::below("/a//", ""), "/a//");
  EXPECT_EQ(path::below("", "b"), "/b");
}

TEST(Path, TakesComponentsFromTheFront) {
  std::string_view path = "/a/b/";
  for (const char* component : {"", "a", "b", ""}) {
    EXPECT_EQ(path::takeFirstComponent(path), component);
  }
  EXPECT_EQ(path, "");
}

TEST(Path, RefusesNamesThatNoObjectCanHave) {
  using namespace std::string_view_literals;
  for (const auto text : {""sv, "."sv, ".."sv, "a/b"sv, "/"sv, "a\0b"sv}) {
    EXPECT_FALSE(path::isComponent(text)) << text;
  }
  for (const auto text : {"a"sv, "..."sv, ".a"sv}) EXPECT_TRUE(path::isComponent(text)) << text;
}

}  // namespace
}  // namespace qrt
