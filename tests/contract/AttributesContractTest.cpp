#include "contract/ContractTest.h"
#include "platform/AccessControl.h"
#include "platform/ExtendedAttributes.h"

namespace qrt {
namespace {

using AttributesContract = test::ContractTest;

TEST_F(AttributesContract, ExtendedAttributesComeAndGo) {
  auto& attributes = platform().extendedAttributes;
  const auto file = scratch_.file("file"), link = scratch_.link("link", "file"),
             none = scratch_.path("none");
  const auto* at = file.c_str();
  const Data value{0, 1, 2};
  // The second is a record that the home platform's file systems keep apart.
  Data record(32);
  record[0] = 'T';
  const std::pair<std::string, Data> rows[] = {{"com.vantor.test", value},
                                               {"com.apple.FinderInfo", record}};
  for (const auto& [name, content] : rows) {
    const auto code = attributes.set(at, Links::stay, name, content);
    if (code == PosixCode::notSupported) GTEST_SKIP() << "needs a file system with attributes";
    ASSERT_EQ(code, PosixCode::success) << name;
    EXPECT_EQ(*attributes.names(at, Links::stay, Compression::hidden), std::vector{name});
    EXPECT_EQ(*attributes.value(link.c_str(), Links::follow, name), content) << name;
    EXPECT_EQ(attributes.remove(at, Links::stay, name, Compression::hidden), PosixCode::success);
    EXPECT_EQ(attributes.value(at, Links::stay, name).error(), PosixCode::noAttribute) << name;
  }
  EXPECT_EQ(attributes.set(at, Links::stay, "", value), PosixCode::invalidArgument);
  EXPECT_TRUE(attributes.names(link.c_str(), Links::stay, Compression::exposed)->empty());
  EXPECT_EQ(attributes.names(none.c_str(), Links::stay, Compression::hidden).error(),
            PosixCode::noEntry);
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
  EXPECT_FALSE(*control.list(object));
  EXPECT_EQ(control.setList(object, std::nullopt), PosixCode::success);

  const auto list = someList(control);
  ASSERT_TRUE(list);
  auto form = *control.externalized(list);
  const auto copy = control.internalized(form);
  ASSERT_TRUE(copy);
  const auto code = control.setList(object, *copy);
  if (code == PosixCode::notSupported) GTEST_SKIP() << "needs a file system with lists";
  ASSERT_EQ(code, PosixCode::success);
  EXPECT_EQ(*control.externalized(*control.list(object)), form);
  ASSERT_EQ(control.setRights(other, *control.rights(object)), PosixCode::success);
  EXPECT_EQ(other.status()->mode, object.status()->mode);
  EXPECT_EQ(*control.externalized(*control.list(other)), form);

  const auto inherited = control.markedAsInherited(*list);
  ASSERT_TRUE(inherited);
  EXPECT_EQ(control.setList(object, *inherited), PosixCode::success);
  EXPECT_EQ(control.setList(object, std::nullopt), PosixCode::success);
  EXPECT_FALSE(*control.list(object));

  form.pop_back();
  for (const auto& wrong : {form, Data{1, 2, 3}}) {
    EXPECT_EQ(control.internalized(wrong).error(), PosixCode::invalidArgument);
  }
}

}  // namespace
}  // namespace qrt
