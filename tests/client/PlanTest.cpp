// What a plan says about a real scene, and that it changes nothing and asks no helper.
#include <algorithm>

#include "client/ClientFixture.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/plan/ObjectEffects.h"
#include "platform/SystemFeatures.h"
#include "support/Mounts.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::Mount;
using testing::HasSubstr;
using testing::Not;

class PlanTest : public test::ClientFixture {
 protected:
  void SetUp() override {
    scene.make(
        "mkdir -p tree/deep log closed mount; printf 12345 > tree/deep/file; : > tree/plain; "
        ": > log/a; : > closed/x; : > listed; grant listed; ln -s tree link");
    ASSERT_TRUE(scene.changeFlags("tree/deep/file", "+i") && scene.changeFlags("log/a", "+a") &&
                scene.changeFlags("closed", "+i"));
  }

  /// With the names in the scene, which begin with "@", as paths.
  std::string inScene(std::string text) const {
    for (auto at = text.find('@'); at != std::string::npos; at = text.find('@')) {
      text.replace(at, 1, scene.path() + "/");
    }
    return text;
  }
  Words inScene(Words words) const {
    for (auto& word : words) word = inScene(word);
    return words;
  }

  int plan(const Words& words) {
    Words all{"plan"};
    all.insert(all.end(), words.begin(), words.end());
    return run(all);
  }

  test::ScratchFolder scene;
};

struct Case {
  std::vector<std::string> words;
  int status;
  std::vector<std::string> texts;
};

const Case cases[] = {
    {{"nop"}, 0, {"Action:       Perform an empty operation", "Result:       can be done\n"}},
    {{"discard-auth"}, 0, {"vk2.discard-auth, for everybody", "not needed: you are root"}},
    {{"delete-files", "@listed", "@missing"},
     4,
     {"Action:       Delete ", "listed and 1 more for good\n",
      "list on @listed; does not stop the helper\n", "Total:        1 object, 0 B\n",
      "would fail: @missing does not exist\n"}},
    {{"delete-files", "@closed/x"}, 1, {"immutable flag on @closed; stops the operation\n"}},
    {{"prepare-uninstall"}, 0, {"Prepare the removal of the privileged helper\n"}},
    {{"perform-uninstall", "@missing", "@listed"}, 4, {"fail: @missing does not exist\n"}},
    {{"modify-systemfile", "@tree/deep/file", "@listed"},
     1,
     {"file (file, 5 B): replaced by", "fail: immutable flag at @tree/deep/file\n"}},
    {{"create-fileobject", "@listed", "file"}, 1, {"would fail: @listed exists already\n"}},
    {{"create-fileobject", "@missing/x", "folder"}, 4, {"@missing/x has no folder to be in\n"}},
    {{"create-fileobject", "@closed/new", "file"}, 1, {"immutable flag on @closed; stops"}},
    {{"create-fileobject", "@new", "file"},
     0,
     {"@new (does not exist): created\n", "Values:       TYPE file\n", "none found: no flag"}},
    {{"rename-fileobject", "@listed", "@mount/new"}, 1, {"read-only mount on @mount; stops"}},
    {{"touch-fileobject", "@mount/file"}, 1, {"read-only mount on @mount; stops"}},
    {{"rename-fileobject", "@tree/deep/file", "@new"}, 1, {"flag at @tree/deep/file\n"}},
    {{"delete-fileobjects", "--recursive", "@tree"},
     0,
     {"@tree (folder with 3 objects, 5 B): deleted with everything below it\n",
      "immutable flag on @tree/deep/file; the helper clears it\n", "supports it\n"}},
    {{"delete-fileobjects", "@tree"}, 1, {"would fail: @tree is not empty\n"}},
    {{"delete-fileobjects", "--recursive", "@log"},
     1,
     {"append-only flag on @log/a; stops the operation\n"}},
    {{"delete-fileobjects", "--recursive", "@missing"}, 0, {"(does not exist): nothing to do\n"}},
    {{"delete-foldercontents", "@link"}, 0, {"@link (folder with 3 objects, 5 B): emptied\n"}},
    {{"delete-foldercontents", "@closed"}, 1, {"immutable flag on @closed; stops"}},
    {{"delete-foldercontents", "@mount", "--no-preserve-mounts"}, 1, {"mount on @mount; stops"}},
    {{"delete-foldercontents", "@"}, 1, {"mount point on @mount; stops"}},
    {{"inspect-fileobject", "@missing"}, 0, {"(does not exist): looked for\n"}},
    {{"touch-fileobject", "@log/a"}, 0, {"flag on @log/a; does not stop the helper\n"}},
    {{"touch-fileobject", "@tree/deep/file"}, 1, {"immutable flag on @tree/deep/file; stops"}},
    {{"modify-protection", "@tree", "off", "--recursive"},
     0,
     {"tree to off\n", "Values:       --recursive\n", "file; does not stop the helper\n"}},
    {{"modify-hfsattr", "@missing", "TEXT", "ttxt"}, 4, {"@missing does not exist\n"}},
    {{"create-link", "@new", "@missing"}, 0, {"Create the link "}},
    {{"create-link", "--hard", "@new", "@tree/deep/file"}, 1, {"second name", "file; stops"}},
    {{"search-agedfiles", "@link", "3"},
     0,
     {"with 3 objects, 5 B", "not matter for this operation"}},
    {{"search-filenames", "@listed"}, 1, {"would fail: @listed is not a folder\n"}},
    {{"search-patterns", "@tree", "--name", "a b"}, 0, {"Values:       --name \"a b\"\n"}},
    {{"search-fileorphans", "@missing"}, 4, {"@missing does not exist\n"}},
    {{"inspect-storagesize", "@tree"}, 0, {"measured with everything below it\n"}},
    {{"modify-kernelsetting", "a.b", "5"}, 0, {"Set the kernel setting a.b to 5\n"}},
    {{"modify-preferences", "k", "d", "u", "h", "5"}, 0, {"Values:       HOST h, VALUE 5\n"}},
    {{"modify-sysconf", "k", "5"}, 0, {"Change the system setting k\n", "VALUE 5\n"}},
    {{"signal-process", "1", "TERM"}, 0, {"Send the signal TERM to the process 1\n"}},
    {{"modify-acl", "@listed", "none"}, 0, {"list on @listed; does not stop the helper\n"}},
    {{"prop-permissions", "@tree"}, 0, {"deep/file; stops the operation if a change is nec"}},
    {{"execute-utility", "chmod", "--", "0600", "/x"}, 0, {"run as root\n", "Run chmod 0600 /x\n"}},
    {{"rename-stashfolder", "@closed", "old"}, 1, {"moved aside\n", "immutable flag on @closed"}},
    {{"erase-diskblocks", "missing", "8"}, 4, {"/dev/missing does not exist\n"}},
};

/// With a file system that is read-only in the scene.
TEST_F(PlanTest, SaysWhatIsDoneAndWhatStopsItButDoesNothing) {
  const Mount mount(Mount::Kind::memory, scene.path("mount"));
  ASSERT_TRUE(mount.isMounted());
  scene.file("mount/file");
  ASSERT_TRUE(mount.makeReadOnly());
  const test::ScratchFolder other;
  other.file("before");
  for (const auto& [words, status, texts] : cases) {
    EXPECT_EQ(plan(inScene(words)), status) << testing::PrintToString(words);
    const auto text = terminal.take();
    for (const auto& wanted : texts) EXPECT_THAT(text, HasSubstr(inScene(wanted)));
    EXPECT_EQ(text.find("Result:       can be done") != std::string::npos, status == 0) << text;
    auto dry = inScene(words);
    dry.insert(dry.begin() + 1, "--dry-run");
    EXPECT_EQ(run(dry), status);
    EXPECT_EQ(terminal.take(), text);
    EXPECT_TRUE(helper.calls.empty()) << helper.calls.front();
  }
  EXPECT_EQ(scene.printedBy("find . -cnewer " + other.path("before")), "");
}

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
    EXPECT_EQ(plan({"write-smcvalue", "KEY0", scene.path("listed")}), feature.isPresent ? 0 : 1);
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
