#include <sys/sysmacros.h>

#include "hardware/FirmwareOperations.h"
#include "platform/linux/settings/LinuxNvram.h"
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
    return performOperationModifyNvramWithArguments({name, text}, nvram);
  }
  static Error refused(const char* code) {
    return Error{
        "com.vantor.error.privileged-operation",
        9,
        {{"NSLocalizedDescription", "It was not possible to modify a NVRAM setting."},
         {"QRTLocalizedRecoverySuggestionTemplate",
          "The operating system could not change a value in the non-volatile memory of this "
          "computer. The error code is $1$."},
         {"QRTLocalizedRecoverySuggestionParameters", Array{code}}}};
  }

  static inline const std::string folder = "sys/firmware/efi/efivars/";
  test::ScratchFolder root;
  LinuxNvram nvram{root.path()};
};

TEST_F(ModifyNvram, ExistingVariablesKeepTypeAndAttributes) {
  const auto check = [this](std::string before, std::string text,
                            std::optional<std::string> after) {
    const auto file = test::plant(root, fileOf("variable"), before);
    EXPECT_EQ(codeOf(modify("variable", text)), after ? 0 : 22) << text;
    EXPECT_EQ(test::contentsOf(file), after.value_or(before));
  };
  check("\3\0\0\0ab"s, "%41%42%43", "\3\0\0\0%41%42%43"s);
  check("\7\0\0\0a\n"s, "%41%42", "\7\0\0\0AB"s);
  check("\x27\0\0\0\xFF"s, "abc", std::nullopt);
  check("\7\0\0\0"s, "abc", std::nullopt);
  check("\7\0\0\0caf\xC3\xA9"s, "bistro", "\7\0\0\0bistro"s);
  check("\7\0\0\0\xC2\x85"s, "bistro", std::nullopt);
  // A file that no variable can have is like none.
  check("\3\0"s, "abc", "\7\0\0\0abc"s);
}

TEST_F(ModifyNvram, WriteProtectionIsLiftedAndPutBack) {
  for (const auto* name : {"locked", "open"}) test::plant(root, fileOf(name), "\7\0\0\0old"s);
  if (!root.changeFlags(fileOf("locked"), "+i")) GTEST_SKIP() << "needs root and flags";
  for (const auto* name : {"locked", "open"}) {
    const auto file = root.path(fileOf(name));
    EXPECT_EQ(modify(name, "new"), success);
    EXPECT_EQ(test::contentsOf(file), "\7\0\0\0new"s);
    EXPECT_EQ(std::ofstream(file, std::ios::app).is_open(), name == "open"s);
  }
}

TEST_F(ModifyNvram, FailuresAreTold) {
  EXPECT_EQ(modify("", "x"), posixError(PosixCode::invalidArgument));
  // No such memory.
  EXPECT_EQ(modify("name", "x"), success);
  EXPECT_FALSE(test::exists(root.path("sys")));

  test::plant(root, folder + "other");
  EXPECT_EQ(modify("a/b", "x"), refused("-536870206"));
  EXPECT_EQ(modify("a\0b"s, "x"), refused("-536870206"));
  // An empty one would be removed.
  const auto kept = test::plant(root, fileOf("kept"), "\7\0\0\0old"s);
  EXPECT_EQ(modify("kept", ""), refused("-536870206"));
  EXPECT_EQ(test::contentsOf(kept), "\7\0\0\0old"s);
  EXPECT_EQ(modify(std::string(300, 'n'), "x"), refused("-536870212"));
  // A link is no variable and leads nowhere.
  const auto target = root.file("target", "untouched");
  root.link(fileOf("link"), target);
  EXPECT_EQ(modify("link", "x"), refused("-536870212"));
  EXPECT_EQ(test::contentsOf(target), "untouched");
  // Memory that is full.
  const auto full = root.path(fileOf("full"));
  const bool isMade = mknod(full.c_str(), S_IFCHR | 0600, makedev(1, 7)) == 0;
  if (!isMade || access(full.c_str(), W_OK) != 0) GTEST_SKIP() << "needs a device node";
  EXPECT_EQ(modify("full", "x"), refused("-536870181"));
  if (!root.changeFlags(folder, "+i")) GTEST_SKIP() << "needs flags";
  EXPECT_EQ(modify("name", "x"), refused("-536870207"));
}

}  // namespace
}  // namespace qrt
