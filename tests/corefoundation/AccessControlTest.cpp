#include <gtest/gtest.h>
#include <sys/acl.h>

#include "platform/AccessControl.h"
#include "platform/macos/MacosFacilities.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

HeldObject byDescriptor(const std::string& path) {
  return HeldObject(FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)));
}

TEST(MacosAccessControl, ListsAreSetAndRemovedByDescriptorAndByName) {
  const auto control = makeAccessControl();
  const test::ScratchFolder scratch;
  const auto inode = test::statusOf(scratch.file("file")).st_ino;
  const auto list = *control->fromText("!#acl 1\n");
  const auto object = byDescriptor(scratch.path("file"));
  const HeldObject named(FileDescriptor(open(scratch.path().c_str(), O_RDONLY)), "file");
  for (const auto* each : {&object, &named}) {
    EXPECT_EQ(control->setList(*each, list), PosixCode::success);
    EXPECT_EQ(fakeLists[inode].size(), 2u);
    EXPECT_EQ(control->setList(*each, std::nullopt), PosixCode::success);
    EXPECT_EQ(fakeLists.count(inode), 0u);
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

}  // namespace
}  // namespace qrt
