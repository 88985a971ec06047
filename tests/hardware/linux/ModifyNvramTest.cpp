#include <sys/sysmacros.h>

#include "hardware/HardwareOperations.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using namespace std::string_literals;

class ModifyNvram : public testing::Test {
 protected:
  static std::string fileOf(const std::string& name) {
    return folder + name + "-7c436110-ab2a-4bbb-a880-fe41995c9f82";
  }
  Outcome modify(const std::string& name, const std::string& text) {
    return performOperationModifyNvramWithArguments(native.facilities(), {name, text}, nullptr);
  }
  static Outcome refused(const char* code) {
    return privilegedOperationError(
        9, "It was not possible to modify a NVRAM setting.",
        "The operating system could not change a value in the non-volatile memory of this "
        "computer. The error code is $1$.",
        {code});
  }

  static inline const std::string folder = "sys/firmware/efi/efivars/";
  test::ScratchFolder root;
  const NativePlatform native{root.path() + "/"};
};

TEST_F(ModifyNvram, ExistingVariablesKeepTypeAndAttributes) {
  const struct {
    std::string before, text;
    std::optional<std::string> after;
  } cases[] = {{"\3\0\0\0ab"s, "%41%42%43", "\3\0\0\0%41%42%43"s},
               {"\7\0\0\0a\n"s, "%41%42", "\7\0\0\0AB"s},
               {"\x27\0\0\0\xFF"s, "abc", std::nullopt},
               {"\7\0\0\0caf\xC3\xA9"s, "bistro", "\7\0\0\0bistro"s},
               // A file that is no variable counts as a new one.
               {"\3\0"s, "abc", "\7\0\0\0abc"s}};
  for (const auto& [before, text, after] : cases) {
    const auto file = test::plant(root, fileOf("variable"), before);
    EXPECT_EQ(codeOf(modify("variable", text)), after ? 0 : 22) << text;
    EXPECT_EQ(test::contentsOf(file), after.value_or(before));
  }
}

TEST_F(ModifyNvram, WriteProtectionIsLiftedAndRestored) {
  const auto file = test::plant(root, fileOf("locked"), "\7\0\0\0old"s);
  if (!root.changeFlags(fileOf("locked"), "+i")) GTEST_SKIP() << "needs root and flags";
  EXPECT_EQ(modify("locked", "new"), success);
  EXPECT_EQ(test::contentsOf(file), "\7\0\0\0new"s);
  EXPECT_FALSE(std::ofstream(file, std::ios::app).is_open());
}

TEST_F(ModifyNvram, ReturnsTheReasonOfAFailure) {
  EXPECT_EQ(modify("", "x"), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(modify("name", "x"), success) << "a computer without such memory";
  EXPECT_FALSE(test::exists(root.path("sys")));

  const auto kept = test::plant(root, fileOf("kept"), "\7\0\0\0old"s);
  const auto target = root.file("target", "untouched");
  root.link(fileOf("link"), target);
  const std::tuple<std::string, const char*, const char*> cases[] = {
      {"a\0b"s, "x", "-536870206"},
      {"kept", "", "-536870206"},  // The system would remove a variable without contents.
      {"link", "x", "-536870212"}};
  for (const auto& [name, text, code] : cases) EXPECT_EQ(modify(name, text), refused(code)) << name;
  EXPECT_EQ(test::contentsOf(kept), "\7\0\0\0old"s);
  EXPECT_EQ(test::contentsOf(target), "untouched");

  const auto full = root.path(fileOf("full"));
  const bool isMade = mknod(full.c_str(), S_IFCHR | 0600, makedev(1, 7)) == 0;
  if (!isMade || access(full.c_str(), W_OK) != 0) GTEST_SKIP() << "needs a device node";
  EXPECT_EQ(modify("full", "x"), refused("-536870181"));
  if (!root.changeFlags(folder, "+i")) GTEST_SKIP() << "needs flags";
  EXPECT_EQ(modify("name", "x"), refused("-536870207"));
}

}  // namespace
}  // namespace qrt
