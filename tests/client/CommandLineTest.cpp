// From the words of a command line to the values on the wire.
#include <gmock/gmock.h>

#include <csignal>
#include <limits>

#include "ClientFixture.h"

namespace qrt {
namespace {

class CommandLineTest : public test::ClientFixture {};

TEST_F(CommandLineTest, WordsBecomeTheArgumentsOfTheRequest) {
  struct Case {
    std::vector<std::string> words;
    std::string call;
    Array arguments;
  };
  const Case cases[] = {
      {{"nop"}, "perform 9998", {}},
      {{"delete-fileobjects", "--recursive", "/a", "../b/"},
       "perform 3",
       {"1", "0", "/a", "/here/../b/"}},
      {{"delete-fileobjects", "a", "--stop-on-first-error", "b"},
       "perform 3",
       {"0", "1", "/here/a", "/here/b"}},
      {{"modify-kernelsetting", "a", "-9223372036854775808"},
       "perform 15",
       {"a", std::numeric_limits<std::int64_t>::min()}},
      {{"modify-kernelsetting", "a", "18446744073709551615"},
       "perform 15",
       {"a", std::numeric_limits<std::uint64_t>::max()}},
      {{"modify-kernelsetting", "a", "-0x10"}, "perform 15", {"a", -16}},
      {{"signal-process", "1234", "sigusr1"}, "perform 19", {1234, SIGUSR1}},
      {{"signal-process", "-1", "9"}, "perform 19", {-1, 9}},
      {{"modify-preferences", "k", "app", "ann", "kCFPreferencesAnyHost", "(1, 2)"},
       "perform 17",
       {"k", "app", "ann", "kCFPreferencesAnyHost", "(1, 2)"}},
      {{"modify-sysconf", "k", "--file", "site"}, "perform 18", {"qrtctl", "site", "k", ""}},
      {{"enable-ipvsix", "eth0", "off"}, "perform 23", {"qrtctl", "eth0", false}},
      {{"execute-utility", "chmod", "--", "-Rv", "0755", "/a b", "--", "--json"},
       "perform 22",
       {"qrtctl", "chmod", "-Rv", "0755", "/a b", "--", "--json"}},
      // Words that look like something else.
      {{"delete-foldercontents", "nop", "version", "[a,b]", "[]", "++", "{}", "%%", "-"},
       "perform 4",
       {"/here/nop", "/here/version", "/here/[a,b]", "/here/[]", "/here/++", "/here/{}", "/here/%%",
        "/here/-"}},
      {{"delete-foldercontents", "a", "--", "--json", "-x", "--", "[b]", "++"},
       "perform 4",
       {"/here/a", "/here/--json", "/here/-x", "/here/--", "/here/[b]", "/here/++"}},
      {{"delete-foldercontents", "\x01x", "\xFF\xFE"},
       "perform 4",
       {"/here/\x01x", "/here/\xFF\xFE"}},
      // An empty path never becomes the current folder.
      {{"delete-foldercontents", ""}, "perform 4", {""}},
      // General options stand anywhere.
      {{"--prompt", "[p]", "nop", "--icon=i.png"},
       "perform 9998",
       {"!QRTMETA!",
        Dictionary{{"QRTAuthorizationPrompt", "[p]"}, {"QRTAuthorizationIcon", "/here/i.png"}}}},
      {{"nop", "--prompt", ""}, "perform 9998", {}},
  };
  for (const auto& [words, call, arguments] : cases) {
    helper.calls.clear();
    EXPECT_EQ(run(words), 0) << testing::PrintToString(words) << terminal.errors();
    EXPECT_THAT(helper.calls, testing::Contains(call)) << testing::PrintToString(words);
    EXPECT_EQ(helper.arguments, arguments) << testing::PrintToString(words);
  }
}

TEST_F(CommandLineTest, WrongWordsAreRefusedBeforeAnythingIsDone) {
  const std::vector<std::string> cases[] = {
      {},
      {"format-planet"},
      {"--", "nop"},
      {"--prompt"},
      {"delete-fileobjects"},
      {"delete-fileobjects", "--recursive=maybe", "a"},
      {"delete-fileobjects", "--no-recursive", "a"},
      {"modify-kernelsetting", "a", ""},
      {"modify-kernelsetting", "a", "1.5"},
      {"modify-kernelsetting", "a", "0x"},
      {"modify-kernelsetting", "a", "0x-1"},
      {"modify-kernelsetting", "a", "--1"},
      {"modify-kernelsetting", "a", "18446744073709551616"},
      {"modify-kernelsetting", "a", "-9223372036854775809"},
      {"signal-process", "1", "SIGNIFICANT"},
  };
  for (const auto& words : cases) {
    EXPECT_EQ(run(words), 2) << testing::PrintToString(words);
    EXPECT_THAT(terminal.errors(), testing::StartsWith("qrtctl: "));
    EXPECT_EQ(terminal.output(), "");
  }
  EXPECT_EQ(run({"nop", "--socket=\x1B[2J", "\x1B[2J"}), 2);
  EXPECT_EQ(terminal.errors().find('\x1B'), std::string::npos);
  EXPECT_EQ(run({"nop", "extra", "--json"}), 2);
  EXPECT_THAT(terminal.output(), testing::StartsWith(R"json({"done":false,"error":{)json"));
  EXPECT_EQ(terminal.errors(), "");
  caller.folder = PosixCode::noEntry;
  EXPECT_EQ(run({"delete-foldercontents", "a"}), 2);
  EXPECT_EQ(run({"nop", "--icon", "a"}), 2);
  EXPECT_TRUE(helper.calls.empty());
}

TEST_F(CommandLineTest, HelpTellsEverythingAndStartsNothing) {
  EXPECT_EQ(run({"--help"}), 0);
  const auto help = terminal.output();
  for (const auto* expected :
       {"delete-foldercontents", "Delete the contents of one or more folders.", "install-rights",
        "--socket", "\n  0    done\n", "\n  6    ", "\n  130  ", "Base64"}) {
    EXPECT_NE(help.find(expected), std::string::npos) << expected;
  }
  EXPECT_EQ(run({"delete-fileobjects", "--help"}), 0);
  EXPECT_NE(terminal.output().find("--stop-on-first-error"), std::string::npos);
  EXPECT_TRUE(helper.calls.empty());
}

}  // namespace
}  // namespace qrt
