#include "platform/AccessControl.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "platform/linux/ObjectPermissions.h"
#include "support/AclText.h"
#include "support/Mounts.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::aclOf;

class AccessControlTest : public testing::Test {
 protected:
  HeldObject hold(const std::string& path) {
    return *platform_.facilities().files.hold(path.c_str(), Links::stay);
  }
  std::optional<AccessControlList> list(const std::string& text) { return *lists_.fromText(text); }
  PosixCode set(const std::string& path, const std::string& text) {
    return lists_.setList(hold(path), list(text));
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  AccessControl& lists_ = platform_.facilities().accessControl;
};

TEST_F(AccessControlTest, AListLeavesTheObjectItsOwnEntries) {
  const test::Mount mount(test::Mount::Kind::ext4, scratch_.folder("volume"));
  const std::pair<const char*, const char*> cases[] = {
      {"u::-,u:77:rwx,g::rwx,g:88:x,m::rx,o::rwx",
       "user::rw-,user:77:rwx,group::r-x,group:88:--x,mask::r-x,other::r--"},
      {"u:78:w", "user::rw-,user:78:-w-,group::r-x,mask::rwx,other::r--"},
      {"m::-", "user::rw-,group::r-x,mask::---,other::r--"},
      {"u::rwx,g::rwx,o::rwx", "user::rw-,group::r-x,other::r--"}};
  for (const auto& file : {scratch_.file("file"), scratch_.file("volume/file")}) {
    ASSERT_EQ(chmod(file.c_str(), 02654), 0);
    for (const auto& [text, expected] : cases) {
      EXPECT_EQ(set(file, text), PosixCode::success);
      EXPECT_EQ(aclOf(file), expected) << text;
      const auto told = lists_.externalized(*lists_.list(hold(file)));
      EXPECT_EQ(lists_.setList(hold(file), *lists_.internalized(*told)), PosixCode::success);
      EXPECT_EQ(aclOf(file), expected) << text;
    }
  }
}

TEST_F(AccessControlTest, OnlyExactExternalFormsAreRead) {
  const auto whole = *lists_.externalized(list("u::rw,u:77:rwx,g::r,m::rwx,o::-"));
  for (auto shorter = whole; !shorter.empty();) {
    shorter.pop_back();
    EXPECT_FALSE(lists_.internalized(shorter)) << shorter.size();
  }
  constexpr std::size_t header = 8, entry = 40, permissions = 32;
  // The length, then the first entry: no tag, that of another, bits that are no permissions.
  const std::pair<std::size_t, std::uint8_t> changes[] = {
      {0, 0}, {7, 1}, {header, 0x40}, {header, 4}, {header + permissions, 8}};
  for (const auto& [at, value] : changes) {
    auto changed = whole;
    ASSERT_EQ(changed.size() % entry, header);
    changed[at] = value;
    EXPECT_FALSE(lists_.internalized(changed)) << at;
  }
}

TEST_F(AccessControlTest, WithoutAPlaceForListsThereIsNone) {
  const test::Mount mount(test::Mount::Kind::plainMemory, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  const auto file = scratch_.file("file");
  const auto copy = scratch_.file("volume/file");
  EXPECT_FALSE(*lists_.list(hold(copy)));
  EXPECT_EQ(lists_.setList(hold(copy), std::nullopt), PosixCode::success);
  EXPECT_EQ(set(copy, "u:77:rwx"), PosixCode::notSupported);
  // The mask does not become what the owning group may do.
  ASSERT_TRUE(test::run({"setfacl", "-m", "u:77:rwx,g::-", file}));
  EXPECT_EQ(lists_.setRights(hold(copy), *lists_.rights(hold(file))), PosixCode::success);
  EXPECT_EQ(aclOf(copy), "user::rw-,group::---,other::r--");
}

TEST_F(AccessControlTest, AHoldOutlastsItsName) {
  const auto file = scratch_.file("file");
  const auto held = hold(file);
  ASSERT_EQ(rename(file.c_str(), scratch_.path("moved").c_str()), 0);
  const auto link = hold(scratch_.link("file", "moved"));
  EXPECT_EQ(held.setOwner(77, 88), PosixCode::success);
  EXPECT_EQ(held.setPermissions(04711), PosixCode::success);
  EXPECT_EQ(lists_.setList(held, list("u:77:r")), PosixCode::success);
  EXPECT_EQ(held.status()->userID, 77u);
  EXPECT_EQ(held.status()->mode, S_IFREG | 04751u) << "the mask is as wide as all entries";
  EXPECT_EQ(object_permissions::writeByPath(held.descriptor(), 01700), PosixCode::success);
  EXPECT_EQ(held.status()->mode, S_IFREG | 01700u);
  // A link has neither list nor permissions.
  EXPECT_EQ(link.setPermissions(0), PosixCode::notSupported);
  EXPECT_EQ(object_permissions::writeByPath(link.descriptor(), 0), PosixCode::notSupported);
  EXPECT_EQ(lists_.setList(link, std::nullopt), PosixCode::success);
}

}  // namespace
}  // namespace qrt
