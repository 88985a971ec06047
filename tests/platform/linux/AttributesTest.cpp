// Extended attributes and access control lists as this port keeps them.
#include "AclText.h"
#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"
#include "platform/NativePlatform.h"
#include "platform/linux/files/ObjectPermissions.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using test::aclOf;
using Kind = test::Mount::Kind;

class AttributesTest : public testing::Test {
 protected:
  HeldObject hold(const std::string& path) {
    return *platform_.facilities().files.hold(path.c_str(), Links::stay);
  }
  std::optional<AccessControlList> list(const std::string& text) { return *lists_.fromText(text); }
  PosixCode setList(const std::string& path, const std::string& text) {
    return lists_.setList(hold(path), list(text));
  }
  std::vector<std::string> names(const std::string& path) {
    return *attributes_.names(hold(path), Compression::hidden);
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  AccessControl& lists_ = platform_.facilities().accessControl;
  ExtendedAttributes& attributes_ = platform_.facilities().extendedAttributes;
};

TEST_F(AttributesTest, AListLeavesTheObjectItsOwnEntries) {
  const std::pair<const char*, const char*> cases[] = {
      {"u::-,u:77:rwx,g::rwx,g:88:x,m::rx,o::rwx",
       "user::rw-,user:77:rwx,group::r-x,group:88:--x,mask::r-x,other::r--"},
      {"u:78:w", "user::rw-,user:78:-w-,group::r-x,mask::rwx,other::r--"},
      {"m::-", "user::rw-,group::r-x,mask::---,other::r--"},
      {"u::rwx,g::rwx,o::rwx", "user::rw-,group::r-x,other::r--"}};
  const auto file = scratch_.file("file");
  ASSERT_EQ(chmod(file.c_str(), 02654), 0);
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(setList(file, text), PosixCode::success);
    EXPECT_EQ(aclOf(file), expected) << text;
  }
}

TEST_F(AttributesTest, OnlyExactExternalFormsOfListsAreRead) {
  const auto whole = *lists_.externalized(list("u::rw,u:77:rwx,g::r,m::rwx,o::-"));
  for (auto shorter = whole; !shorter.empty();) {
    shorter.pop_back();
    EXPECT_FALSE(lists_.internalized(shorter)) << shorter.size();
  }
  constexpr std::size_t header = 8, permissions = 32;
  // The length, then the first entry: no tag, that of another, bits that are no permissions.
  const std::pair<std::size_t, std::uint8_t> changes[] = {
      {0, 0}, {7, 1}, {header, 0x40}, {header, 4}, {header + permissions, 8}};
  for (const auto& [at, value] : changes) {
    auto changed = whole;
    changed[at] = value;
    EXPECT_FALSE(lists_.internalized(changed)) << at;
  }
  // libacl would put an array of all entries on the stack.
  std::string huge = "u::rw,g::r,m::rwx,o::-";
  for (int user = 1; user < 14'000; ++user) huge += ",u:" + std::to_string(user) + ":r";
  EXPECT_FALSE(lists_.internalized(*lists_.externalized(list(huge))));
}

TEST_F(AttributesTest, AFileSystemWithoutListsGetsThePermissionsOnly) {
  const test::Mount mount(Kind::plainMemory, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  const auto file = scratch_.file("file"), copy = scratch_.file("volume/file");
  EXPECT_FALSE(*lists_.list(hold(copy)));
  EXPECT_EQ(lists_.setList(hold(copy), std::nullopt), PosixCode::success);
  EXPECT_EQ(setList(copy, "u:77:rwx"), PosixCode::notSupported);
  // The mask does not become what the owning group may do.
  ASSERT_TRUE(test::run({"setfacl", "-m", "u:77:rwx,g::-", file}));
  EXPECT_EQ(lists_.setRights(hold(copy), *lists_.rights(hold(file), *hold(file).status())),
            PosixCode::success);
  EXPECT_EQ(aclOf(copy), "user::rw-,group::---,other::r--");
}

}  // namespace
}  // namespace qrt
