#include <gtest/gtest.h>
#include <sys/acl.h>

#include "platform/AccessControl.h"
#include "platform/macos/MacosFacilities.h"
#include "platform/macos/files/CommonAttribute.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

HeldObject byDescriptor(const std::string& path) {
  return HeldObject(FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)));
}

TEST(MacosAccessControl, ListsAreSetAndRemovedByDescriptorAndByName) {
  const auto control = makeAccessControl();
  const test::ScratchFolder scratch;
  const auto file = scratch.file("file");
  const auto inode = test::statusOf(file).st_ino;
  const auto list = control->fromText("!#acl 1\n");
  ASSERT_TRUE(list && *list);
  for (const bool byName : {false, true}) {
    const auto object =
        byName ? HeldObject(FileDescriptor(open(scratch.path().c_str(), O_RDONLY)), "file")
               : byDescriptor(file);
    EXPECT_EQ(control->setList(object, *list), PosixCode::success);
    EXPECT_EQ(fakeLists[inode].size(), 2u) << byName;
    EXPECT_EQ(control->setList(object, std::nullopt), PosixCode::success);
    EXPECT_EQ(fakeLists.count(inode), 0u) << byName;
  }
}

TEST(MacosAccessControl, ListsTravelInExternalForm) {
  const auto control = makeAccessControl();
  const test::ScratchFolder scratch;
  const auto one = byDescriptor(scratch.file("one")), other = byDescriptor(scratch.file("other"));
  const auto list = *control->markedAsInherited(**control->fromText("!#acl 1\n"));
  auto form = *control->externalized(list);
  ASSERT_EQ(control->setList(one, *control->internalized(form)), PosixCode::success);
  ASSERT_EQ(control->setRights(other, *control->rights(one, *one.status())), PosixCode::success);
  EXPECT_EQ(*control->externalized(*control->list(other)), form);
  EXPECT_FALSE(*control->internalized(*control->externalized(std::nullopt)));
  for (const std::size_t size : {form.size() - 1, std::size_t{44}, std::size_t{3}}) {
    form.resize(size);
    EXPECT_EQ(control->internalized(form).error(), PosixCode::invalidArgument) << size;
  }
}

TEST(CommonAttribute, FlagsThatAFileSystemDoesNotKeepAreNotSupported) {
  const auto set = [](std::uint32_t before, std::uint32_t wanted, std::uint32_t after) {
    FileStatus current, changed;
    current.flags = before;
    changed.flags = after;
    return common_attribute::confirmed(PosixCode::success, current, wanted,
                                       [&]() -> PosixResult<FileStatus> { return changed; });
  };
  EXPECT_EQ(set(0, 2, 2), PosixCode::success);
  EXPECT_EQ(set(6, 2, 2), PosixCode::success);
  EXPECT_EQ(set(0, 2, 0), PosixCode::notSupported);
}

}  // namespace
}  // namespace qrt
