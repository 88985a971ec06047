// What plans say that no scene of tests/integration/plans shows.
#include <algorithm>

#include "client/ClientFixture.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/plan/ObjectEffects.h"
#include "platform/SystemFeatures.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using testing::HasSubstr;
using testing::Not;

class PlanTest : public test::ClientFixture {
 protected:
  int plan(const Words& words) {
    Words all{"plan"};
    all.insert(all.end(), words.begin(), words.end());
    return run(all);
  }

  test::ScratchFolder scene;
};

TEST_F(PlanTest, EachOperationWithPathsIsInTheTable) {
  for (const auto& operation : operationArguments()) {
    const auto roles = objectRoles(operation.identifier);
    for (const auto& argument : operation.arguments) {
      const bool isPath =
          argument.form == ArgumentForm::path || argument.form == ArgumentForm::pathWithOption ||
          argument.form == ArgumentForm::device || argument.form == ArgumentForm::utility;
      const bool hasRole = std::any_of(roles.begin(), roles.end(), [&](const ObjectRole& role) {
        return role.argument == argument.name;
      });
      EXPECT_TRUE(hasRole || !isPath) << operation.identifier << ' ' << argument.name;
    }
  }
}

TEST_F(PlanTest, SaysWhetherTheSystemHasWhatItNeeds) {
  for (const auto& feature : systemFeatures()) {
    if (feature.name != "management controller") continue;
    EXPECT_EQ(plan({"write-smcvalue", "KEY0", scene.file("new", "1")}), feature.isPresent ? 0 : 1);
    EXPECT_EQ(terminal.output().find("does not support it: no management") == std::string::npos,
              feature.isPresent);
  }
}

TEST_F(PlanTest, OfManyObjectsTheFirstAreNamed) {
  Words words{"delete-files"};
  for (int i = 0; i < 1001; ++i) words.push_back(scene.path("missing") + std::to_string(i));
  EXPECT_EQ(plan(words), 4);
  EXPECT_THAT(terminal.output(),
              HasSubstr("missing9 does not exist\nResult:       and 991 more\n"));
  EXPECT_THAT(terminal.output(), Not(HasSubstr("missing10")));
  words.push_back("--json");
  EXPECT_EQ(plan(words), 4);
  EXPECT_THAT(terminal.output(), HasSubstr("missing999 does"));
  EXPECT_THAT(terminal.output(), Not(HasSubstr("missing1000")));
}

TEST_F(PlanTest, OnlyOperationsHaveOne) {
  const std::pair<Words, std::string> wrong[] = {
      {{"plan", "delete-file", "/a"}, "no operation 'delete-file'; did you mean one of: "},
      {{"plan", "--quiet", "doctor"}, "There is no operation 'doctor'"},
      {{"--json", "plan"}, "OPERATION is required"},
      {{"--dry-run", "install-rights"}, "There is no plan for install-rights"},
      {{"plan", "delete-files", "/"}, "'/' is the root folder"},
  };
  for (const auto& [words, text] : wrong) {
    EXPECT_EQ(run(words), 2) << testing::PrintToString(words);
    EXPECT_THAT(terminal.take(), HasSubstr(text));
  }
  EXPECT_EQ(run({"plan", "touch-fileobject", "--help"}), 0);
  EXPECT_THAT(terminal.output(), HasSubstr("Usage: qrtctl touch-fileobject [OPTIONS] PATH"));
  const auto batch = scene.file("batch", "nop --dry-run\nplan nop\n");
  EXPECT_EQ(run({"batch", batch}), 0);
  EXPECT_TRUE(helper.calls.empty());
  scene.file("batch", "nop\n");
  EXPECT_EQ(run({"--dry-run", "batch", batch}), 0);
  EXPECT_TRUE(helper.calls.empty());
  scene.file("batch", "remove-rights\n");
  EXPECT_EQ(run({"--dry-run", "batch", batch}), 2);
}

}  // namespace
}  // namespace qrt
