#include <sstream>

#include "AclText.h"
#include "filesystem/OperationFixture.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

constexpr int list = 0x01;

/// Links in a tree whose owner chooses where they lead. Work on the tree that acts on their targets
/// must not let that owner reach what belongs to others.
using LinksInTreesTest = test::OperationFixture;

TEST_F(LinksInTreesTest, ChangesOnlyTargetsOfTheLinksOwners) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const struct {
    const char* links;
    const char* target;
    bool isChanged;
  } rows[] = {
      {"tree/a>../users:77", "users", true},
      {"tree/a>/users:77", "users", true},
      {"tree/a>.././folder//../users:0", "users", true},
      {"tree/a>../folder/.:0", "folder", true},
      {"tree/a>../b:77 b>/users:0", "users", true},
      {"tree/a>../b/file:0 b>folder:77", "folder/file", true},
      {"tree/a>../roots:0", "roots", true},
      {"tree/a>../roots:77", "roots", false},
      {"tree/a>/roots:77", "roots", false},
      {"tree/a>../others:77", "others", false},
      {"tree/a>../b:0 b>roots:77", "roots", false},
      {"tree/a>../b:77 b>users:88", "users", false},
      {"tree/a>../b:88 b>users:77", "users", false},
      {"tree/a>../b/../roots:0 b>folder:77", "roots", false},
      {"tree/a>../users/:77", "users", false},
      {"tree/a>../volume/users:77", "volume/users", false},
      {"tree/a>a:77", "roots", false},
      {"tree/a>nowhere:0", "roots", false},
  };
  for (const auto& [links, target, isChanged] : rows) {
    scratch_.make(
        "mkdir -p tree folder volume; touch roots users others folder/file;"
        "chown 77 users folder folder/file; chown 88 others; setfacl -m u:9:rw tree");
    const test::Mount volume(test::Mount::Kind::memory, scratch_.path("volume"));
    ASSERT_TRUE(volume.isMounted());
    scratch_.make("touch volume/users; chown 77 volume/users");
    std::istringstream words(links);
    for (std::string word; words >> word;) {  // NAME>TEXT:UID
      const auto arrow = word.find('>'), colon = word.rfind(':');
      auto text = word.substr(arrow + 1, colon - arrow - 1);
      if (text[0] == '/') text.insert(0, scratch_.path());
      const auto link = scratch_.link(word.substr(0, arrow), text);
      const auto user = static_cast<uid_t>(std::stoi(word.substr(colon + 1)));
      ASSERT_EQ(lchown(link.c_str(), user, user), 0);
    }
    EXPECT_EQ(perform("PropPermissions", {scratch_.path("tree"), 0, false, list}), success);
    EXPECT_EQ(test::aclOf(scratch_.path(target)).find("user:9:") != std::string::npos, isChanged)
        << links;
    for (const bool value : {true, false}) {
      EXPECT_EQ(perform("ModifyProtection", {scratch_.path("tree"), value, true, false}), success);
      EXPECT_EQ(platform_.files.status(scratch_.path(target).c_str(), Links::stay)->flags != 0,
                value && isChanged)
          << links;
    }
    scratch_.make("rm -r tree folder roots users others volume/users; rm -f b");
  }
}

}  // namespace
}  // namespace qrt
