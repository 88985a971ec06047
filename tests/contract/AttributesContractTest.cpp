#include "contract/ContractTest.h"
#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"

namespace qrt {
namespace {

using AttributesContract = test::ContractTest;

TEST_F(AttributesContract, ExtendedAttributesAreSetAndRemoved) {
  auto& attributes = platform().extendedAttributes;
  const auto file = *platform().files.hold(scratch_.file("file").c_str(), Links::stay);
  const auto link = *platform().files.hold(scratch_.link("link", "file").c_str(), Links::stay);
  // The home platform's file systems keep the record apart.
  Data record(32);
  record[0] = 'T';
  for (const std::string name : {"com.vantor.test", "com.apple.FinderInfo"}) {
    const auto code = attributes.set(file, name, record);
    if (code == PosixCode::notSupported) GTEST_SKIP() << "needs a file system with attributes";
    ASSERT_EQ(code, PosixCode::success) << name;
    EXPECT_EQ(*attributes.names(file, Compression::hidden), std::vector{name});
    EXPECT_EQ(*attributes.value(file, name), record) << name;
    EXPECT_TRUE(attributes.names(link, Compression::exposed)->empty());
    EXPECT_EQ(attributes.remove(file, name, Compression::hidden), PosixCode::success);
    EXPECT_EQ(attributes.value(file, name).error(), PosixCode::noAttribute) << name;
  }
  EXPECT_EQ(attributes.set(file, "", record), PosixCode::invalidArgument);
}

/// The list in the notation of whichever port understands it.
std::optional<AccessControlList> someList(AccessControl& control) {
  for (const char* text :
       {"!#acl 1\ngroup:ABCDEFAB-CDEF-ABCD-EFAB-CDEF0000000C:everyone:12:allow:read\n",
        "u::rw-,u:1:r--,g::r--,m::r--,o::r--"}) {
    const auto list = control.fromText(text);
    if (list && *list) return *list;
  }
  return std::nullopt;
}

TEST_F(AttributesContract, ListsTravelInExternalFormAndToOtherObjects) {
  auto& control = platform().accessControl;
  const auto object = *platform().files.hold(scratch_.file("file").c_str(), Links::stay);
  const auto other = *platform().files.hold(scratch_.file("other").c_str(), Links::stay);
  const auto list = someList(control);
  ASSERT_TRUE(list);
  auto form = *control.externalized(list);
  const auto copy = control.internalized(form);
  ASSERT_TRUE(copy);
  const auto code = control.setList(object, *copy);
  if (code == PosixCode::notSupported) GTEST_SKIP() << "needs a file system with lists";
  ASSERT_EQ(code, PosixCode::success);
  EXPECT_EQ(*control.externalized(*control.list(object)), form);
  ASSERT_EQ(control.setRights(other, *control.rights(object, *object.status())),
            PosixCode::success);
  EXPECT_EQ(other.status()->mode, object.status()->mode);
  EXPECT_EQ(*control.externalized(*control.list(other)), form);

  const auto inherited = control.markedAsInherited(*list);
  ASSERT_TRUE(inherited);
  EXPECT_EQ(control.setList(object, *inherited), PosixCode::success);
  EXPECT_EQ(control.setList(object, std::nullopt), PosixCode::success);
  EXPECT_FALSE(*control.list(object));

  form.pop_back();
  EXPECT_EQ(control.internalized(form).error(), PosixCode::invalidArgument);
}

}  // namespace
}  // namespace qrt
