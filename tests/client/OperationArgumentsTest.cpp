#include "client/cli/OperationArguments.h"

#include <algorithm>

#include "ClientFixture.h"
#include "client/cli/ArgumentReader.h"
#include "operations/OperationCatalogue.h"
#include "platform/SystemFeatures.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

/// A misspelt name would make an operation look supported everywhere.
TEST(OperationArguments, NeedFeaturesThatAreLookedFor) {
  const auto features = systemFeatures();
  for (const auto& operation : operationArguments()) {
    if (operation.neededFeature.empty()) continue;
    EXPECT_TRUE(std::any_of(features.begin(), features.end(), [&](const SystemFeature& feature) {
      return feature.name == operation.neededFeature;
    })) << operation.identifier;
  }
}

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
      {{"--hard", numberFlag}, {"true"}, {true}},
      {{"TYPE", choice, "", once, "file=F folder=D"}, {"folder"}, {"D"}},
      {{"--name", taggedText, "", any, "0"}, {"core", "x"}, {"0", "core", "0", "x"}},
      {{"", constant, "", once, "qrtctl"}, {}, {"qrtctl"}},
      {{"", ownProcess}, {}, {42}},
      {{"--file", text, "", optional}, {}, {""}},
      {{"--expected", number, "", optional, "0"}, {}, {0}},
      {{"STATE", onOff}, {"off"}, {false}},
      {{"--copy", bits, "", any, "acl=1 others=2 owner=8"}, {"owner", "acl", "acl"}, {9}},
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

}  // namespace
}  // namespace qrt
