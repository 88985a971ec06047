// From the words of a command line to the values on the wire.
#include <csignal>
#include <cstdint>
#include <cstdio>

#include "ClientFixture.h"
#include "client/cli/output/Json.h"
#include "platform/FileDescriptor.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

class CommandLineTest : public test::ClientFixture {};

TEST_F(CommandLineTest, WordsBecomeTheArgumentsOfTheRequest) {
  const test::ScratchFolder scratch;
  const auto contents = scratch.file("contents", std::string("\0\xFF\n", 3));
  const std::tuple<std::vector<std::string>, std::string, Array> cases[] = {
      {{"nop"}, "9998", {}},
      {{"delete-fileobjects", "--recursive", "/a", "../b/"}, "3", {"1", "0", "/a", "/here/../b/"}},
      {{"delete-fileobjects", "a", "--stop-on-first-error"}, "3", {"0", "1", "/here/a"}},
      {{"modify-kernelsetting", "a", "-9223372036854775808"}, "15", {"a", INT64_MIN}},
      {{"modify-kernelsetting", "a", "18446744073709551615"}, "15", {"a", UINT64_MAX}},
      {{"modify-kernelsetting", "a", "-0x10"}, "15", {"a", -16}},
      {{"signal-process", "1234", "sigusr1"}, "19", {1234, SIGUSR1}},
      {{"signal-process", "-1", "9"}, "19", {-1, 9}},
      {{"create-fileobject", "a", "folder"}, "1", {"/here/a", "D"}},
      {{"modify-protection", "/a", "off", "--recursive"}, "7", {"/a", false, true, false}},
      {{"prop-permissions", "/", "--copy", "owner", "--copy", "acl", "--copy", "acl"},
       "21",
       {"/", 0, false, 9}},
      {{"search-patterns", "/", "--name", "core", "--name", "x"},
       "12",
       {"/", "0", "0", "core", "0", "x"}},
      {{"modify-systemfile", "a", contents}, "0", {"/here/a", Data{0, 0xFF, '\n'}, false}},
      {{"modify-sysconf", "k", "--file", "site"}, "18", {"qrtctl", "site", "k", ""}},
      {{"perform-uninstall", "/a", "/b"}, "9994", {42, "/a", "/b"}},
      {{"execute-utility", "chmod", "--", "-Rv", "/a b", "--", "--json"},
       "22",
       {"qrtctl", "chmod", "-Rv", "/a b", "--", "--json"}},
      // Words that look like something else.
      {{"delete-foldercontents", "nop", "version", "[a,b]", "[]", "++", "{}", "%%", "-"},
       "4",
       {"/here/nop", "/here/version", "/here/[a,b]", "/here/[]", "/here/++", "/here/{}", "/here/%%",
        "/here/-"}},
      {{"delete-foldercontents", "a", "--", "--json", "-x", "--", "[b]", "++"},
       "4",
       {"/here/a", "/here/--json", "/here/-x", "/here/--", "/here/[b]", "/here/++"}},
      {{"delete-foldercontents", "\x01x", "\xFF\xFE"}, "4", {"/here/\x01x", "/here/\xFF\xFE"}},
      // An empty path never becomes the current folder.
      {{"delete-foldercontents", ""}, "4", {""}},
      // General options stand anywhere.
      {{"--prompt", "[p]", "nop", "--icon=i.png"},
       "9998",
       {"!QRTMETA!",
        Dictionary{{"QRTAuthorizationPrompt", "[p]"}, {"QRTAuthorizationIcon", "/here/i.png"}}}},
      {{"nop", "--prompt", ""}, "9998", {}},
  };
  for (const auto& [words, code, arguments] : cases) {
    helper.calls.clear();
    EXPECT_EQ(run(words), 0) << testing::PrintToString(words) << terminal.errors();
    EXPECT_THAT(helper.calls, testing::Contains("perform " + code))
        << testing::PrintToString(words);
    // Unlike the values' own equality it tells 0 and false apart.
    EXPECT_EQ(jsonOf(helper.arguments).dump(), jsonOf(arguments).dump());
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
      {"create-fileobject", "a", "D"},
      {"modify-protection", "a", "1"},
      {"prop-permissions", "/", "--copy", "all"},
      {"modify-systemfile", "a", "/missing"},
      {"modify-systemfile", "a", "/dev"},
      {"modify-systemfile", "a", "/dev/zero"},
      {"modify-acl", "a", "anna"},
      {"modify-acl", "a", "u:1:r,u:1:w"},
      {"modify-acl", "a", "@/missing"},
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

TEST_F(CommandLineTest, WhatCannotBeReadOrSentAsAWholeIsRefused) {
  const FileDescriptor before(dup(STDIN_FILENO)), folder(open("/", O_RDONLY | O_CLOEXEC));
  dup2(folder.get(), STDIN_FILENO);
  for (const auto& words : {std::vector<std::string>{"modify-systemfile", "a", "-"},
                            {"delete-fileobjects", "--stdin0"}}) {
    EXPECT_EQ(run(words), 2);
    EXPECT_EQ(terminal.errors(), "qrtctl: Standard input cannot be read\nTry \"qrtctl --help\".\n");
    clearerr(stdin);
  }
  dup2(before.get(), STDIN_FILENO);

  std::vector<std::string> words(200, std::string(100000, '\xFF'));
  words.insert(words.begin(), "delete-foldercontents");
  EXPECT_EQ(run(words), 2) << "each such byte is sent as four";
  EXPECT_THAT(terminal.errors(), testing::HasSubstr("The arguments are larger than 15.5 MiB"));
  words.resize(30);
  EXPECT_EQ(run(words), 0);
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
