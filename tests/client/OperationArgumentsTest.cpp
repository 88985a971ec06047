#include "client/cli/commandline/OperationArguments.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "operations/OperationCatalogue.h"
#include "platform/SystemFeatures.h"

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

}  // namespace
}  // namespace qrt
