#include "platform/ExtendedAttributes.h"

#include <gmock/gmock.h>
#include <sys/xattr.h>

#include "platform/NativePlatform.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using testing::UnorderedElementsAre;

class ExtendedAttributesTest : public testing::Test {
 protected:
  std::string native(const std::string& path, const std::string& name) {
    char value[64];
    const auto length = lgetxattr(path.c_str(), name.c_str(), value, sizeof value);
    return length < 0 ? "none" : std::string(value, static_cast<std::size_t>(length));
  }
  PosixCode set(const std::string& path, const std::string& name, const Data& value = {'v'}) {
    return attributes_.set(path.c_str(), Links::stay, name, value);
  }
  std::vector<std::string> names(const std::string& path) {
    return *attributes_.names(path.c_str(), Links::stay, Compression::hidden);
  }

  test::ScratchFolder scratch_;
  const NativePlatform platform_;
  ExtendedAttributes& attributes_ = platform_.facilities().extendedAttributes;
};

TEST_F(ExtendedAttributesTest, NamesWithoutANamespaceLiveInThatOfUsers) {
  const test::Mount mount(test::Mount::Kind::ext4, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and mkfs.ext4";
  const auto file = scratch_.file("volume/file");
  const struct {
    const char *given, *stored, *told;
  } cases[] = {{"com.apple.x", "user.com.apple.x", "com.apple.x"},
               {"user.plain", "user.plain", "plain"},
               {"user.user.y", "user.user.y", "user.user.y"},
               {"userland", "user.userland", "userland"},
               {"trusted.z", "trusted.z", "trusted.z"}};
  for (const auto& row : cases) {
    ASSERT_EQ(set(file, row.given), PosixCode::success) << row.given;
    EXPECT_EQ(native(file, row.stored), "v") << row.given;
    EXPECT_EQ(names(file), std::vector<std::string>{row.told}) << row.given;
    // What is told leads back.
    EXPECT_EQ(attributes_.value(file.c_str(), Links::stay, row.told).value(), Data{'v'});
    ASSERT_EQ(attributes_.remove(file.c_str(), Links::stay, row.told, Compression::hidden),
              PosixCode::success);
  }
}

TEST_F(ExtendedAttributesTest, LinksAndSpecialFilesAreNotOpened) {
  const auto file = scratch_.file("file");
  const auto link = scratch_.link("link", "file");
  scratch_.make("mkfifo fifo");
  for (const auto& path : {link, scratch_.path("fifo")}) {
    EXPECT_EQ(set(path, "trusted.x"), PosixCode::success);
    EXPECT_EQ(native(path, "trusted.x"), "v");
    EXPECT_EQ(names(path), std::vector<std::string>{"trusted.x"});
  }
  EXPECT_EQ(native(file, "trusted.x"), "none");
  EXPECT_EQ(attributes_.set(link.c_str(), Links::follow, "trusted.y", {}), PosixCode::success);
  EXPECT_EQ(native(file, "trusted.y"), "");
}

TEST_F(ExtendedAttributesTest, FailuresHaveTheNumbersOfTheContract) {
  const auto file = scratch_.file("file");
  EXPECT_EQ(attributes_.remove(file.c_str(), Links::stay, "trusted.x", Compression::hidden),
            PosixCode::noAttribute);
  EXPECT_EQ(set(file, std::string("trusted.a\0b", 11)), PosixCode::invalidArgument);
  EXPECT_EQ(set("/proc/self/stat", "trusted.x"), PosixCode::notSupported);
}

}  // namespace
}  // namespace qrt
