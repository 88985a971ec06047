#include "client/cli/OperationArguments.h"

#include <gtest/gtest.h>

#include <string>

#include "ClientFixture.h"
#include "client/cli/ArgumentReader.h"
#include "client/cli/CommandLine.h"
#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

TEST(OperationArguments, DescribeTheCatalogueLetterForLetter) {
  const auto* record = privilegedOperationCatalogue;
  for (const auto& operation : operationArguments()) {
    ASSERT_EQ(operation.identifier, record->identifier);
    std::string letters;
    for (const auto& argument : operation.arguments) {
      letters += typeLettersOf(argument.form);
      EXPECT_EQ(argument.name.empty(), isImplied(argument.form)) << operation.identifier;
      if (record->argumentCount == NSNotFound) continue;
      EXPECT_NE(argument.occurrence, Occurrence::oneOrMore) << operation.identifier;
    }
    if (record->argumentCount == NSNotFound) {
      EXPECT_EQ(letters.find_first_not_of('S'), std::string::npos) << operation.identifier;
    } else {
      EXPECT_EQ(letters, record->argumentTypes ? record->argumentTypes : "");
    }
    ++record;
  }
  EXPECT_EQ(record->code, endOfCatalogue);
}

/// The forms that no operation offers yet.
TEST(OperationArguments, EveryFormHasItsValues) {
  const test::ScratchFolder scratch;
  const auto contents = scratch.file("contents", std::string("\0\xFF\n", 3));
  struct Case {
    ArgumentDescription description;
    std::vector<std::string> words;
    Array expected;
  };
  using enum ArgumentForm;
  using enum Occurrence;
  const Case cases[] = {
      {{"--hard", numberFlag}, {}, {false}},
      {{"--hard", numberFlag}, {"true"}, {true}},
      {{"TYPE", choice, "", once, "file=F folder=D"}, {"folder"}, {"D"}},
      {{"--name", taggedText, "", any, "0"}, {"core", "x"}, {"0", "core", "0", "x"}},
      {{"--name", taggedText, "", any, "0"}, {}, {}},
      {{"", constant, "", once, "qrtctl"}, {}, {"qrtctl"}},
      {{"", ownProcess}, {}, {42}},
      {{"--file", text, "", optional}, {}, {""}},
      {{"--expected", number, "", optional, "0"}, {}, {0}},
      {{"STATE", onOff}, {"on"}, {true}},
      {{"STATE", onOff}, {"off"}, {false}},
      {{"--copy", bits, "", any, "acl=1 others=2 owner=8"}, {"owner", "acl", "acl"}, {9}},
      {{"--copy", bits, "", any, "acl=1"}, {}, {0}},
      {{"FILE", fileContents}, {contents}, {Data{0, 0xFF, '\n'}}},
  };
  const test::FakeCaller caller;
  const NativePlatform native;
  const WordContext context{caller, native.facilities()};
  for (const auto& [description, words, expected] : cases) {
    const auto values = readArguments({description}, {words}, context);
    ASSERT_TRUE(values) << description.name;
    EXPECT_EQ(*values, expected) << description.name;
    // Booleans stay booleans.
    for (std::size_t i = 0; i < expected.size(); ++i) {
      if (!expected[i].number()) continue;
      EXPECT_EQ((*values)[i].number()->storage().index() == 0,
                expected[i].number()->storage().index() == 0)
          << description.name;
    }
  }

  const Case refused[] = {
      {{"TYPE", choice, "", once, "file=F folder=D"}, {"D"}, {}},
      {{"TYPE", choice, "", once, "file=F folder=D"}, {""}, {}},
      {{"STATE", onOff}, {"1"}, {}},
      {{"--copy", bits, "", any, "acl=1"}, {"all"}, {}},
      {{"FILE", fileContents}, {scratch.path("missing")}, {}},
      {{"FILE", fileContents}, {scratch.path()}, {}},
      {{"FILE", fileContents}, {"/dev/zero"}, {}},
      {{"ACL", accessControlList}, {"anna"}, {}},
      {{"ACL", accessControlList}, {"u:1:r,u:1:w"}, {}},
      {{"ACL", accessControlList}, {"@" + scratch.path("missing")}, {}},
  };
  for (const auto& [description, words, expected] : refused) {
    EXPECT_FALSE(readArguments({description}, {words}, context)) << words.front();
  }
}

/// The whole table as if every operation were available: adding one takes no more than that.
TEST(OperationArguments, EveryOperationCanBeWritten) {
  auto table = operationArguments();
  for (auto& operation : table) operation.isAvailable = true;
  test::RecordingLog log;
  test::FakeAuthority authority;
  const QRTPrivilegedOperationSetVK2 operations(log, authority);
  struct Case {
    std::vector<std::string> words;
    Array expected;
  };
  const Case cases[] = {
      {{"delete-files", "/a", "b"}, {"/a", "/here/b"}},
      {{"perform-uninstall", "/x", "/j"}, {42, "/x", "/j"}},
      {{"modify-systemfile", "/f", "/dev/null", "--remove-backup"}, {"/f", Data(), true}},
      {{"create-fileobject", "d", "folder"}, {"/here/d", "D"}},
      {{"rename-fileobject", "a", "b"}, {"/here/a", "/here/b"}},
      {{"inspect-fileobject", "/a"}, {"/a"}},
      {{"touch-fileobject", "/a"}, {"/a"}},
      {{"modify-protection", "--recursive", "/a", "on"}, {"/a", true, true, false}},
      {{"modify-hfsattr", "/a", "0x54455854", "0"}, {"/a", 0x54455854, 0, false}},
      {{"create-link", "l", "../target", "--hard"}, {"/here/l", "../target", true}},
      {{"search-agedfiles", "/f", "30"}, {"/f", 30, false}},
      {{"search-filenames", "/f", "--extension", "log"}, {"/f", "", "log", false}},
      {{"search-patterns", "--name", "core", "/f", "--extension", "log", "--name", "[a]"},
       {"/f", "0", "0", "core", "0", "[a]", "2", "log"}},
      {{"search-fileorphans", "/f", "--one-file-system"}, {"/f", true}},
      {{"inspect-storagesize", "/f"}, {"/f"}},
      {{"modify-nvram", "boot-args", "--", "-v"}, {"boot-args", "-v"}},
      {{"modify-preferences", "K", "D", "U", "H"}, {"K", "D", "U", "H", ""}},
      {{"modify-preferences", "K", "D", "U", "H", "{a=1;}"}, {"K", "D", "U", "H", "{a=1;}"}},
      {{"modify-sysconf", "K", "1", "--file", "F"}, {"qrtctl", "F", "K", "1"}},
      {{"prop-permissions", "--copy", "acl", "/f", "--copy", "user-id"}, {"/f", 0, false, 33}},
      {{"execute-utility", "chmod", "--", "-R", "[x]", "nop"},
       {"qrtctl", "chmod", "-R", "[x]", "nop"}},
      {{"enable-ipvsix", "eth0", "off"}, {"qrtctl", "eth0", false}},
      {{"rename-stashfolder", "/a", "b"}, {"/a", "b", false}},
      {{"create-installmedia", "/a", "/v"}, {"/a", "/v"}},
      {{"erase-diskblocks", "loop0", "16"}, {"loop0", 16}},
      {{"write-smcvalue", "F0Tg", "/dev/null"}, {"F0Tg", Data()}},
  };
  const test::FakeCaller caller;
  const NativePlatform native;
  const WordContext context{caller, native.facilities()};
  for (const auto& [words, expected] : cases) {
    const auto parsed = parseCommandLine(words, operations, table);
    const auto* command = std::get_if<Command>(&parsed);
    ASSERT_TRUE(command) << testing::PrintToString(words);
    const auto& what = std::get<OperationCommand>(command->what);
    const auto values = readArguments(what.operation->arguments, what.words, context);
    ASSERT_TRUE(values) << testing::PrintToString(words);
    EXPECT_EQ(*values, expected) << testing::PrintToString(words);
  }
}

}  // namespace
}  // namespace qrt
