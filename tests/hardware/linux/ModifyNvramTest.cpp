#include <sys/sysmacros.h>

#include "hardware/FirmwareOperations.h"
#include "platform/linux/LinuxNvram.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr const char* folder = "sys/firmware/efi/efivars";

std::string fileOf(const std::string& name) {
  return std::string(folder) + "/" + name + "-7c436110-ab2a-4bbb-a880-fe41995c9f82";
}

std::string described(const Outcome& outcome) {
  if (!outcome) return "success";
  const auto parameters = outcome->userInfo.find("QRTLocalizedRecoverySuggestionParameters");
  const auto* list = parameters == outcome->userInfo.end() ? nullptr : parameters->second.array();
  return outcome->domain + " " + std::to_string(outcome->code) +
         (list ? " " + *list->at(0).string() : "");
}

class ModifyNvram : public testing::Test {
 protected:
  std::string perform(const std::string& name, const std::string& text) {
    return described(performOperationModifyNvramWithArguments({name, text}, nvram));
  }

  test::ScratchFolder root;
  LinuxNvram nvram{root.path()};
};

using namespace std::string_literals;

TEST_F(ModifyNvram, ExistingVariablesKeepTypeAndAttributes) {
  struct Case {
    std::string before, text, outcome, after;
  };
  const Case cases[] = {
      {"\3\0\0\0ab"s, "%41%42%43", "success", "\3\0\0\0%41%42%43"s},
      {"\7\0\0\0a\n"s, "%41%42", "success", "\7\0\0\0AB"s},
      {"\x27\0\0\0\xFF"s, "abc", "NSPOSIXErrorDomain 22", "\x27\0\0\0\xFF"s},
      {"\7\0\0\0"s, "abc", "NSPOSIXErrorDomain 22", "\7\0\0\0"s},
      {"\7\0\0\0caf\xC3\xA9"s, "bistro", "success", "\7\0\0\0bistro"s},
      {"\7\0\0\0caf\xC3"s, "bistro", "NSPOSIXErrorDomain 22", "\7\0\0\0caf\xC3"s},
      {"\7\0\0\0\xC2\x85"s, "bistro", "NSPOSIXErrorDomain 22", "\7\0\0\0\xC2\x85"s},
      // A file that no variable can have is like none.
      {"\3\0"s, "abc", "success", "\7\0\0\0abc"s},
  };
  for (const auto& c : cases) {
    const auto name = "variable" + std::to_string(&c - cases);
    test::plant(root, fileOf(name), c.before);
    EXPECT_EQ(perform(name, c.text), c.outcome) << name;
    EXPECT_EQ(test::contentsOf(root.path(fileOf(name))), c.after) << name;
  }
}

TEST_F(ModifyNvram, WriteProtectionIsLiftedAndPutBack) {
  for (const auto* name : {"locked", "open"}) test::plant(root, fileOf(name), "\7\0\0\0old"s);
  if (!root.changeFlags(fileOf("locked"), "+i")) GTEST_SKIP() << "needs root and flags";
  for (const auto* name : {"locked", "open"}) {
    const auto file = root.path(fileOf(name));
    EXPECT_EQ(perform(name, "new"), "success");
    EXPECT_EQ(test::contentsOf(file), "\7\0\0\0new"s);
    EXPECT_EQ(std::ofstream(file, std::ios::app).is_open(), name == "open"s);
  }
}

TEST_F(ModifyNvram, FailuresAreTold) {
  EXPECT_EQ(perform("", "x"), "NSPOSIXErrorDomain 22");
  // No such memory.
  EXPECT_EQ(perform("name", "x"), "success");
  EXPECT_FALSE(test::exists(root.path("sys")));

  test::plant(root, std::string(folder) + "/other");
  const auto refused = [](const char* code) {
    return std::string("com.vantor.error.privileged-operation 9 ") + code;
  };
  EXPECT_EQ(perform("a/b", "x"), refused("-536870206"));
  EXPECT_EQ(perform("a\0b"s, "x"), refused("-536870206"));
  EXPECT_EQ(perform(std::string(300, 'n'), "x"), refused("-536870212"));
  // A link is no variable and leads nowhere.
  const auto target = root.file("target", "untouched");
  root.link(fileOf("link"), target);
  EXPECT_EQ(perform("link", "x"), refused("-536870212"));
  EXPECT_EQ(test::contentsOf(target), "untouched");
  if (root.changeFlags(folder, "+i")) {
    EXPECT_EQ(perform("name", "x"), refused("-536870207"));
  }
}

TEST_F(ModifyNvram, FullMemoryIsTold) {
  test::plant(root, std::string(folder) + "/other");
  const auto file = root.path(fileOf("full"));
  const bool isMade = mknod(file.c_str(), S_IFCHR | 0600, makedev(1, 7)) == 0;
  if (!isMade || ::access(file.c_str(), W_OK) != 0) GTEST_SKIP() << "needs a device node";
  const auto outcome = performOperationModifyNvramWithArguments({"full", "x"}, nvram);
  EXPECT_EQ(outcome,
            (Error{"com.vantor.error.privileged-operation",
                   9,
                   {{"NSLocalizedDescription", "It was not possible to modify a NVRAM setting."},
                    {"QRTLocalizedRecoverySuggestionTemplate",
                     "The operating system could not change a value in the non-volatile memory of "
                     "this computer. The error code is $1$."},
                    {"QRTLocalizedRecoverySuggestionParameters", Array{"-536870181"}}}}));
}

}  // namespace
}  // namespace qrt
