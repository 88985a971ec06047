// From the words of a command line to the values of a request.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>

#include "ClientFixture.h"
#include "client/cli/commandline/CommandSplitter.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/completion/TypedWords.h"
#include "client/cli/output/Json.h"
#include "operations/OperationCatalogue.h"
#include "operations/OperationParameters.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/FileDescriptor.h"
#include "platform/SystemFeatures.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using CommandLineTest = test::ClientFixture;

TEST_F(CommandLineTest, CandidatesFitThePlaceOfTheWord) {
  const std::pair<Words, std::string> cases[] = {
      {{"--json", "touch"}, "touch-fileobject\tSet the modification time"},
      {{"--socket", ""}, ""},
      {{"help", "doc"}, "doctor\t"},
      {{"batch", "--stop"}, "--stop-on-first-error\t"},
      {{"explain", "com.vantor.vk2.touch"}, "com.vantor.vk2.touch-fileobject\t"},
      {{"delete-files", "--st"}, "--stdin0\t"},
      {{"delete-files", "--", "--st"}, ""},
      {{"signal-process", "--prompt", "1", "1", "SIGTE"}, "SIGTERM\n"},
      {{"prop-permissions", "--copy", "acl", "--copy", "gr"}, "group\ngroup-id\n"},
      {{"create-fileobject", "/a", "fo"}, "folder\n"},
      {{"execute-utility", "chm"}, "chmod\n"},
      {{"execute-utility", "chmod", "chm"}, ""},
      {{"enable-ipvsix", "lo"}, "lo\n"},
      {{"plan", "signal"}, "signal-process\t"},
      {{"plan", "signal-process", "1", "TE"}, "TERM\n"},
      {{"plan", "doc"}, ""},
  };
  for (const auto& [words, wanted] : cases) {
    Words all{"complete", "--"};
    all.insert(all.end(), words.begin(), words.end());
    EXPECT_EQ(run(all), 0);
    EXPECT_EQ(terminal.output().substr(0, wanted.size()), wanted) << words.back();
    EXPECT_EQ(terminal.output().empty(), wanted.empty()) << words.back();
  }
  EXPECT_TRUE(helper.calls.empty());
}

TEST_F(CommandLineTest, TypedWordsAreCompletedWithTheirQuotes) {
  const test::ScratchFolder scratch;
  scratch.folder("a b");
  for (const char* name : {"c", ".d", "\u202E"}) scratch.file(name);
  const auto place = scratch.path() + "/";
  const std::tuple<std::string, std::size_t, Words> cases[] = {
      {"expl", 4, {"explain "}},
      {"create-link --ha", 4, {"--hard "}},
      {"touch-fileobject " + place, place.size(), {"'" + place + "a b/'", place + "c"}},
      {"touch-fileobject '" + place + "a", place.size() + 2, {"'" + place + "a b/'"}},
      {"touch-fileobject " + place + "a\\ b", place.size() + 4, {"'" + place + "a b/'"}},
      {"touch-fileobject " + place + ".", place.size() + 1, {place + ".d "}},
      {"nop; tou", 0, {}},
  };
  const QRTPrivilegedOperationSetVK2 operations(log, authority);
  for (const auto& [line, replaced, texts] : cases) {
    const auto completions = completionsFor(line, describedOperations(operations));
    EXPECT_EQ(completions.replacedBytes, replaced) << line;
    EXPECT_EQ(completions.texts, texts) << line;
  }
}

TEST_F(CommandLineTest, WordsBecomeTheValuesOfTheRequest) {
  const test::ScratchFolder scratch;
  const auto contents = scratch.file("contents", std::string("\0\xFF\n", 3));
  const std::pair<Words, Array> cases[] = {
      {{"delete-fileobjects", "--recursive", "../b/"}, {"1", "0", "/here/../b/"}},
      // The last fraction says which path failed.
      {{"delete-fileobjects", "/a", "b"}, {"0", "1", "/a", "/here/b"}},
      {{"delete-fileobjects", "a", "--stop-on-first-error"}, {"0", "1", "/here/a"}},
      {{"create-link", "l", "a/../b/"}, {"/here/l", "a/../b/", false}},
      {{"create-link", "--hard", "l", "a/../b/"}, {"/here/l", "/here/a/../b/", true}},
      {{"modify-kernelsetting", "a", "18446744073709551615"}, {"a", UINT64_MAX}},
      {{"modify-kernelsetting", "a", "-0x10"}, {"a", -16}},
      {{"signal-process", "1234", "sigusr1"}, {1234, SIGUSR1}},
      {{"modify-hfsattr", "/a", "TEXT", "'1234'"}, {"/a", 0x54455854, 0x31323334, false}},
      {{"modify-hfsattr", "/a", "1234", "a  b"}, {"/a", 1234, 0x61202062, false}},
      {{"modify-protection", "/a", "off", "--recursive"}, {"/a", false, true, false}},
      {{"prop-permissions", "/", "--copy", "owner", "--copy", "acl", "--copy", "acl"},
       {"/", 0, false, 9}},
      {{"search-patterns", "/", "--name", "core", "--name", "x"},
       {"/", "0", "0", "core", "0", "x"}},
      {{"modify-systemfile", "a", contents}, {"/here/a", Data{0, 0xFF, '\n'}, false}},
      {{"modify-sysconf", "k", "--file", "site"}, {"qrtctl", "site", "k", ""}},
      {{"perform-uninstall", "/a", "/b"}, {42, "/a", "/b"}},
      {{"execute-utility", "chmod", "--", "-Rv", "/a b", "--", "--json"},
       {"qrtctl", "chmod", "-Rv", "/a b", "--", "--json"}},
      // Words with a meaning for the parser.
      {{"delete-foldercontents", "nop", "version", "[a,b]", "++", "{}", "%%", "-", "\x01x", "\xFF"},
       {"/here/nop", "/here/version", "/here/[a,b]", "/here/++", "/here/{}", "/here/%%", "/here/-",
        "/here/\x01x", "/here/\xFF"}},
      {{"delete-foldercontents", "a", "--", "--json", "-x", "--", "[b]", "++"},
       {"/here/a", "/here/--json", "/here/-x", "/here/--", "/here/[b]", "/here/++"}},
      // An empty path never becomes the current folder.
      {{"delete-foldercontents", ""}, {""}},
      {{"--prompt", "[p]", "nop", "--icon=i.png"},
       {"!QRTMETA!",
        Dictionary{{"QRTAuthorizationPrompt", "[p]"}, {"QRTAuthorizationIcon", "/here/i.png"}}}},
  };
  for (const auto& [words, values] : cases) {
    EXPECT_EQ(run(words), 0) << testing::PrintToString(words) << terminal.errors();
    // JSON distinguishes 0 and false; the values' own equality does not.
    EXPECT_EQ(jsonOf(helper.arguments).dump(), jsonOf(values).dump());
  }
}

TEST_F(CommandLineTest, WrongWordsAreRefusedBeforeTheHelperIsAsked) {
  // The tables of tests/proof/inputs have many more.
  const std::pair<Words, std::string> cases[] = {
      {{}, "A command is required\n"},
      {{"delete-foldercontents", "--no-preserve-root", "/usr"}, "is your home folder; the option"},
      {{"delete-fileobjects", "--no-preserve-home", "/proc"}, "'/proc' is a mount point; the"},
      {{"modify-acl", "a", "u:1:r,u:1:w"}, "'u:1:r,u:1:w' is not an access control list"},
      {{"nop", "\x1B[2J"}, "\\x1b"},
  };
  for (const auto& [words, text] : cases) {
    EXPECT_EQ(run(words), 2) << testing::PrintToString(words);
    EXPECT_THAT(terminal.errors(), testing::StartsWith("qrtctl: "));
    EXPECT_THAT(terminal.errors(), testing::HasSubstr(text));
    EXPECT_TRUE(helper.calls.empty());
  }
  caller.folder = std::string("/usr");
  EXPECT_EQ(run({"execute-utility", "chmod", "--", "0600", "bin/env"}), 2);
  EXPECT_THAT(terminal.errors(), testing::HasSubstr("folder; write '/usr/bin/env'\n"));
  EXPECT_EQ(run({"execute-utility", "chmod", "--", "u=/", "bin/missing"}), 0);
  EXPECT_EQ(run({"nop", "-V"}), 0);
  EXPECT_EQ(terminal.output(), "qrtctl 1.6\n");
  EXPECT_EQ(run({"help", "touch-fileobject"}), 0);
  EXPECT_THAT(terminal.output(),
              testing::HasSubstr("Usage: qrtctl touch-fileobject [OPTIONS] PATH"));
  EXPECT_EQ(run({"nop", "extra", "--json"}), 2);
  EXPECT_THAT(terminal.take(), testing::StartsWith(R"json({"done":false,"error":{)json"));
  caller.folder = PosixCode::noEntry;
  EXPECT_EQ(run({"delete-foldercontents", "a"}), 2);
}

TEST_F(CommandLineTest, OnlyPathsAreSentInSeveralMessages) {
  Words words(60, std::string(100000, '\xFF'));
  words.insert(words.begin(), {"execute-utility", "chmod"});
  EXPECT_EQ(run(words), 2) << "each such byte is sent as four";
  EXPECT_THAT(terminal.errors(), testing::HasSubstr("The arguments are larger than 15.5 MiB"));
  words.erase(words.begin());
  words[0] = "delete-foldercontents";
  EXPECT_EQ(run(words), 0);
  EXPECT_EQ(std::count(helper.calls.begin(), helper.calls.end(), "perform 4"), 2);
  EXPECT_EQ(helper.arguments.size(), 60u - 40u);
}

TEST(CommandSplitter, WordsAreThoseOfSh) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {" a\tb  # c", {"a", "b"}},
      {"a#b \\#c ''#d", {"a#b", "#c", "#d"}},
      {"a\\ b 'c d'\"e f\" '' \"\"", {"a b", "c de f", "", ""}},
      {"'\\' \"\\\\ \\$ \\\" \\n\" \\n", {"\\", "\\ $ \" \\n", "n"}},
      {"a\\\nb \\\n c \"d\\\ne\" '\\\n'", {"ab", "c", "de", "\\\n"}},
  };
  for (const auto& [text, words] : cases) {
    const auto commands = splitCommands(text);
    ASSERT_TRUE(commands && commands->size() == 1) << text;
    EXPECT_EQ(commands->front().words, words) << text;
    std::string expected;
    for (const auto& word : words) expected += word + '\0';
    EXPECT_EQ(test::printed("printf '%s\\0' " + text), expected) << "as sh has them: " << text;
  }
}

TEST(OperationArguments, MatchTheCatalogueAndTheSystemsFeatures) {
  const auto features = systemFeatures();
  const auto* record = privilegedOperationCatalogue;
  ASSERT_EQ(operationArguments().size(), operationParameters().size());
  auto row = operationParameters().begin();
  for (const auto& operation : operationArguments()) {
    ASSERT_EQ(operation.identifier, record->identifier);
    ASSERT_EQ(operation.identifier, row->identifier);
    std::string typed;
    for (const auto& parameter : row++->parameters) typed += typeLettersOf(parameter.kind);
    const bool isList = record->argumentCount == NSNotFound;
    std::string letters;
    for (const auto& argument : operation.arguments) {
      letters += typeLettersOf(argument.form);
      EXPECT_TRUE(isList || argument.occurrence != Occurrence::oneOrMore) << operation.identifier;
    }
    EXPECT_EQ(typed, letters) << operation.identifier;
    if (isList) letters.erase(0, letters.find_first_not_of('S'));
    EXPECT_EQ(letters, record->argumentTypes ? record->argumentTypes : "") << operation.identifier;
    EXPECT_TRUE(operation.neededFeature.empty() ||
                std::any_of(features.begin(), features.end(),
                            [&](const auto& one) { return one.name == operation.neededFeature; }))
        << operation.identifier;
    ++record;
  }
  EXPECT_EQ(record->code, endOfCatalogue);
}

}  // namespace
}  // namespace qrt
