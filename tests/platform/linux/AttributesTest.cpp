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

  /// The value of an attribute that the system's tool prints.
  std::string native(const std::string& path, const std::string& name) {
    return test::printed("getfattr -h --absolute-names --only-values -n " + name + " " + path);
  }
  PosixCode set(const std::string& path, const std::string& name) {
    return attributes_.set(hold(path), name, {'v'});
  }
  PosixCode remove(const std::string& path, const std::string& name) {
    return attributes_.remove(hold(path), name, Compression::hidden);
  }
  std::vector<std::string> names(const std::string& path) {
    return *attributes_.names(hold(path), Compression::hidden);
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  AccessControl& lists_ = platform_.facilities().accessControl;
  ExtendedAttributes& attributes_ = platform_.facilities().extendedAttributes;
};

TEST_F(AttributesTest, NamesWithoutANamespaceAreInThatOfUsers) {
  const test::Mount mount(Kind::ext4, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  const auto file = scratch_.file("volume/file");
  const struct {
    const char *given, *stored, *listed;
  } cases[] = {{"com.apple.x", "user.com.apple.x", "com.apple.x"},
               {"user.plain", "user.plain", "plain"},
               {"user.user.y", "user.user.y", "user.user.y"},
               {"userland", "user.userland", "userland"},
               {"trusted.z", "trusted.z", "trusted.z"}};
  for (const auto& c : cases) {
    ASSERT_EQ(set(file, c.given), PosixCode::success) << c.given;
    EXPECT_EQ(native(file, c.stored), "v") << c.given;
    EXPECT_EQ(names(file), std::vector<std::string>{c.listed}) << c.given;
    // The listed name leads back.
    EXPECT_EQ(attributes_.value(hold(file), c.listed).value(), Data{'v'});
    ASSERT_EQ(remove(file, c.listed), PosixCode::success);
  }
}

TEST_F(AttributesTest, NamesInAFileSystemsOwnNamespaceStayWhole) {
  const test::Mount mount(Kind::btrfs, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.btrfs";
  const std::string name = "btrfs.compression";
  const auto folder = scratch_.folder("volume/folder");
  ASSERT_EQ(attributes_.set(hold(folder), name, {'z', 'l', 'i', 'b'}), PosixCode::success);
  EXPECT_EQ(native(folder, name), "zlib");
  EXPECT_EQ(names(folder), std::vector{name});
}

TEST_F(AttributesTest, PermissionsAreSetEvenWhenTheListCannotBe) {
  const test::Mount mount(Kind::ext4, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  const auto file = hold(scratch_.file("volume/file"));
  std::string tooLong = "u::rwx,g::r-x,m::rwx,o::--x";
  for (int entry = 1; entry < 3000; ++entry) tooLong += ",u:" + std::to_string(entry) + ":r";
  EXPECT_NE(lists_.setRights(file, {0771, list(tooLong), std::nullopt}), PosixCode::success);
  EXPECT_EQ(file.status()->mode & 07777, 0751u);
}

TEST_F(AttributesTest, LinksAndSpecialFilesAreNotOpened) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto file = scratch_.file("file");
  const auto link = scratch_.link("link", "file");
  scratch_.make("mkfifo fifo");
  for (const auto& path : {link, scratch_.path("fifo")}) {
    EXPECT_EQ(set(path, "trusted.x"), PosixCode::success);
    EXPECT_EQ(native(path, "trusted.x"), "v");
    EXPECT_EQ(names(path), std::vector<std::string>{"trusted.x"});
  }
  EXPECT_EQ(names(file), std::vector<std::string>{});

  EXPECT_EQ(remove(file, "trusted.x"), PosixCode::noAttribute);
  EXPECT_EQ(set(file, std::string("trusted.a\0b", 11)), PosixCode::invalidArgument);
  EXPECT_EQ(set("/proc/self/stat", "trusted.x"), PosixCode::notSupported);
}

TEST_F(AttributesTest, AListLeavesTheObjectItsOwnEntries) {
  const test::Mount mount(Kind::ext4, scratch_.folder("volume"));
  const std::pair<const char*, const char*> cases[] = {
      {"u::-,u:77:rwx,g::rwx,g:88:x,m::rx,o::rwx",
       "user::rw-,user:77:rwx,group::r-x,group:88:--x,mask::r-x,other::r--"},
      {"u:78:w", "user::rw-,user:78:-w-,group::r-x,mask::rwx,other::r--"},
      {"m::-", "user::rw-,group::r-x,mask::---,other::r--"},
      {"u::rwx,g::rwx,o::rwx", "user::rw-,group::r-x,other::r--"}};
  for (const auto& file : {scratch_.file("file"), scratch_.file("volume/file")}) {
    ASSERT_EQ(chmod(file.c_str(), 02654), 0);
    for (const auto& [text, expected] : cases) {
      EXPECT_EQ(setList(file, text), PosixCode::success);
      EXPECT_EQ(aclOf(file), expected) << text;
      const auto form = lists_.externalized(*lists_.list(hold(file)));
      EXPECT_EQ(lists_.setList(hold(file), *lists_.internalized(*form)), PosixCode::success);
      EXPECT_EQ(aclOf(file), expected) << text;
    }
  }
}

TEST_F(AttributesTest, OnlyExactExternalFormsOfListsAreRead) {
  const auto whole = *lists_.externalized(list("u::rw,u:77:rwx,g::r,m::rwx,o::-"));
  for (auto shorter = whole; !shorter.empty();) {
    shorter.pop_back();
    EXPECT_FALSE(lists_.internalized(shorter)) << shorter.size();
  }
  constexpr std::size_t header = 8, entry = 40, permissions = 32;
  ASSERT_EQ(whole.size() % entry, header);
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
  const auto file = scratch_.file("file");
  const auto copy = scratch_.file("volume/file");
  EXPECT_FALSE(*lists_.list(hold(copy)));
  EXPECT_EQ(lists_.setList(hold(copy), std::nullopt), PosixCode::success);
  EXPECT_EQ(setList(copy, "u:77:rwx"), PosixCode::notSupported);
  // The mask does not become what the owning group may do.
  ASSERT_TRUE(test::run({"setfacl", "-m", "u:77:rwx,g::-", file}));
  EXPECT_EQ(lists_.setRights(hold(copy), *lists_.rights(hold(file), *hold(file).status())),
            PosixCode::success);
  EXPECT_EQ(aclOf(copy), "user::rw-,group::---,other::r--");
}

TEST_F(AttributesTest, AHeldObjectIsChangedWhateverItsNameLeadsTo) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto file = scratch_.file("file");
  const auto held = hold(file);
  scratch_.make("mv file moved; ln -s moved file");
  const auto link = hold(file);
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
