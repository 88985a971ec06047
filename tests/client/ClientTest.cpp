// What a run of the client asks of the helper, of the system and of the user.
#include <algorithm>
#include <optional>
#include <thread>

#include "ClientFixture.h"
#include "client/cli/Doctor.h"
#include "client/cli/commandline/OperationArguments.h"
#include "client/cli/paths/ObjectCount.h"
#include "operations/PrivilegedOperationError.h"
#include "operations/StringTables.h"
#include "platform/SystemFeatures.h"
#include "protocol/FeedbackMessage.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::FakeHelper;
using testing::ElementsAre;
using testing::HasSubstr;

using ClientTest = test::ClientFixture;

TEST_F(ClientTest, PerformsAndUnregisters) {
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 0);
  EXPECT_EQ(terminal.take(), "");
  EXPECT_TRUE(helper.wasFeedbackWanted);
  EXPECT_THAT(helper.calls, ElementsAre("connect " + defaultHelperAddress(), "register 42",
                                        "createExternalForm", "perform 4", "unregister 42"));
  EXPECT_EQ(run({"nop", "--json"}), 0);
  EXPECT_EQ(terminal.take(), "{\"done\":true}\n");
  EXPECT_FALSE(helper.wasFeedbackWanted);
}

TEST_F(ClientTest, AnUnreachableHelperIsStatus6) {
  helper.version = FakeHelper::brokenConnection();
  EXPECT_EQ(run({"version"}), 6);
  for (const std::string word : {"nop", "version", "doctor"}) {
    helper.connectFailures.assign(2, FakeHelper::invalidConnection());
    EXPECT_EQ(run({"--json", word}), 6);
    EXPECT_THAT(terminal.output(), HasSubstr("cannot be reached")) << word;
  }
}

TEST(Doctor, MissingAndChangedRightsHaveARemedy) {
  const OperationArguments row{"nop"};
  const OperationDescriptions operations{{0, row, "", "a", "everybody", ""},
                                         {1, row, "", "b", "administrators", ""}};
  const std::pair<std::optional<DeclaredRights>, std::string> cases[] = {
      {std::nullopt, ""},
      {DeclaredRights{{"a", RightRule::everybody}, {"b", RightRule::administrators}}, "all 2"},
      {DeclaredRights{{"a", RightRule::everybody}}, "1 of 2 are missing"},
      {DeclaredRights{{"a", RightRule::everybody}, {"b", RightRule::other}}, "changed: b"},
  };
  for (const auto& [declared, text] : cases) {
    const auto finding = diagnoseRights(operations, declared, "");
    const auto packaged = diagnoseRights(operations, declared, "/actions").remedy;
    EXPECT_EQ(packaged.find("--reinstall privileged-helper") == std::string::npos,
              packaged.empty());
    EXPECT_EQ(packaged.empty(), finding.remedy.empty());
    EXPECT_THAT(finding.text, HasSubstr(text));
    EXPECT_EQ(finding.state == Finding::State::problem, !finding.remedy.empty());
    const bool isWrong = declared && text != "all 2";
    EXPECT_EQ(remediesOf({finding}).find("install-rights") != std::string::npos, isWrong);
  }
}

TEST_F(ClientTest, AnInterruptionReportsWhetherTheOperationContinues) {
  helper.whileItRuns = [&] { caller.interrupt(); };
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 130);
  EXPECT_EQ(terminal.errors(),
            "qrtctl touch-fileobject: Interrupted.\n"
            "The operation continues in the privileged helper.\n");
  // Unregistering at once could end the daemon before the operation.
  EXPECT_EQ(helper.calls.back(), "unregister later 42");

  // Before the request is sent.
  helper.whileItAuthorizes = std::exchange(helper.whileItRuns, nullptr);
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 130);
  EXPECT_THAT(terminal.errors(), HasSubstr("Interrupted.\nNothing was done.\n"));
  EXPECT_EQ(helper.calls.back(), "unregister 42");

  // The handler's own error with the same code.
  helper.whileItAuthorizes = nullptr;
  helper.answer = posixError(PosixCode::interrupted);
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 1);
  EXPECT_EQ(helper.calls.back(), "unregister 42");
}

TEST_F(ClientTest, TheFirstInterruptionStopsAnOperationThatSendsFeedback) {
  helper.whileItRuns = [&] { caller.interrupt(); };
  helper.answer = posixError(PosixCode::canceled);
  EXPECT_EQ(run({"prop-permissions", "/a"}), 130);
  EXPECT_EQ(terminal.errors(),
            "qrtctl prop-permissions: stopped; what was changed stays changed\n");
  EXPECT_THAT(helper.calls, testing::IsSupersetOf({"stop", "unregister 42"}));
}

TEST_F(ClientTest, AnAgentIsStartedOnceAndAnInterruptionEndsItsQuestion) {
  const auto performs = [&] {
    return std::count(helper.calls.begin(), helper.calls.end(), "perform 6");
  };
  const auto needsDialog = osStatusError(-60007), refusal = posixError(PosixCode::notPermitted);
  helper.answer = needsDialog;
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 3);
  EXPECT_EQ(performs(), 1) << "without an agent";

  caller.hasAgent = true;
  helper.answer = refusal;
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 3);
  EXPECT_EQ(performs(), 1) << "after a refusal";

  helper.answer = needsDialog;
  helper.whileItRuns = [&, attempt = 0]() mutable {
    if (attempt++ == 0) return;
    caller.interrupt();
    helper.answer = refusal;
  };
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 130);
  EXPECT_EQ(terminal.errors(), "qrtctl touch-fileobject: Interrupted.\nNothing was done.\n");
  EXPECT_EQ(helper.calls.back(), "unregister 42");
  EXPECT_EQ(performs(), 2);
}

TEST_F(ClientTest, OutputThatCannotBeWrittenEndsTheRun) {
  helper.feedback = {outputMessage(Data{'a'}), outputMessage(Data{'b'})};
  terminal.deaf = {StandardStream::output};
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_EQ(helper.calls.back(), "unregister later 42");
  EXPECT_THAT(terminal.errors(), HasSubstr("standard output cannot be written: No space left"));
  EXPECT_EQ(run({"version"}), 1);
}

TEST_F(ClientTest, AWarningPrecedesWhatTheSystemCannotDo) {
  for (const auto& feature : systemFeatures()) {
    if (feature.name != "installer programs") continue;
    EXPECT_EQ(run({"create-installmedia", "/a", "/b"}), 0);
    EXPECT_EQ(terminal.errors().find("no installer programs") == std::string::npos,
              feature.isPresent);
  }
}

TEST_F(ClientTest, OnlyRootChangesTheRights) {
  EXPECT_EQ(run({"install-rights", "--json"}), 0);
  EXPECT_EQ(terminal.output(), "{\"done\":true,\"answer\":{\"installed\":33}}\n");
  EXPECT_EQ(authority.rights().size(), 33u);
  EXPECT_EQ(run({"remove-rights"}), 0);
  EXPECT_EQ(terminal.output(), "0\n");
  EXPECT_TRUE(authority.rights().empty());

  authority.package = "/actions";
  EXPECT_EQ(run({"install-rights"}), 1);
  EXPECT_THAT(terminal.errors(), HasSubstr("A package has installed the rights in /actions."));
  EXPECT_TRUE(authority.rights().empty());
  authority.package = "";
  authority.rightSetStatus = AuthorizationStatus::denied;
  EXPECT_EQ(run({"install-rights"}), 1);
  EXPECT_THAT(terminal.errors(), HasSubstr("33 rights could not be installed."));
  EXPECT_THAT(log.texts(), testing::Contains("Authorization database did not accept right "
                                             "definition for 'com.vantor.vk2.nop'!"));
  authority.createStatus = AuthorizationStatus::denied;
  EXPECT_EQ(run({"install-rights"}), 3);
  self.userID = 1000;
  authority.takeCalls();
  EXPECT_EQ(run({"remove-rights"}), 3);
  EXPECT_TRUE(authority.takeCalls().empty());
}

TEST_F(ClientTest, ACountFollowsNoLinkAndEndsAtItsDeadline) {
  const test::ScratchFolder scratch;
  scratch.make("mkdir -p a/b; ln -s / a/link; printf 12345 > a/b/file");
  const auto now = std::chrono::steady_clock::now();
  const auto all = countObjects(platform.files, scratch.path(), now + std::chrono::minutes(1));
  EXPECT_TRUE(all.objects == 4 && all.bytes == 5 && all.isComplete) << all.objects;
  EXPECT_FALSE(countObjects(platform.files, scratch.path(), now).isComplete);
}

TEST_F(ClientTest, AQuestionNamesTheObjectAndItsExtent) {
  const test::ScratchFolder scratch;
  const auto file = scratch.file("f", std::string(1500, 'x'));
  const auto odd = scratch.file("a{PATH}\\\"\n\xff", "");
  const auto folder = scratch.path();
  const std::pair<Words, std::string> cases[] = {
      {{"delete-fileobjects", "--recursive", folder, "/b", "/c"},
       "Delete " + folder + " (2 objects, 1.5 kB) and 2 more for good? [y/N] "},
      {{"delete-fileobjects", folder}, folder + " for good?"},
      {{"delete-foldercontents", folder}, "everything in " + folder + " (2 objects, 1.5 kB) for"},
      {{"delete-files", file}, file + " (1.5 kB) for good?"},
      {{"delete-files", odd}, "\"" + folder + R"(/a{PATH}\\\"\x0a\xff" (0 B) for good?)"},
      {{"delete-files", "/" + std::string(80, 'x')},
       "Delete /" + std::string(19, 'x') + "..." + std::string(37, 'x') + " for good?"},
      {{"modify-nvram", "", "b c"}, "Set the firmware variable \"\" to \"b c\"?"},
  };
  terminal.typed = "n";
  for (const auto& [words, text] : cases) {
    EXPECT_EQ(run(words), 1);
    EXPECT_THAT(terminal.errors(), HasSubstr(text));
  }
}

TEST_F(ClientTest, AUsersDialogShowsTheActionInTheirLanguage) {
  const test::ScratchFolder scratch;
  scratch.make("mkdir Resources; ln -s " QRT_TABLES " Resources/de.lproj");
  bundlePath = scratch.path();
  language = "de";
  const Words words{"delete-files", scratch.path(), "/b"};
  EXPECT_EQ(run(words), 0);
  EXPECT_EQ(helper.arguments.size(), 1u) << "root needs no dialog";
  self.userID = 1000;
  EXPECT_EQ(run(words), 0);
  const auto text = scratch.path() + " (2 Objekte, 0 B) und 1 weitere endg\u00fcltig l\u00f6schen";
  EXPECT_EQ(helper.arguments[1], PropertyValue(Dictionary{{"QRTAuthorizationPrompt", text}}));

  StringTables tables(bundlePath, language, platform.files);
  for (const auto& [identifier, arguments, action, confirmation, feature, participle, note] :
       operationArguments()) {
    const std::string english(action);
    const auto german = tables.localizedStringForKey(english, "?", "PrivilegedOperationActions");
    EXPECT_EQ(german == "?", english.empty()) << english;
    for (std::size_t at = 0; (at = english.find('{', at)) != std::string::npos; ++at) {
      EXPECT_THAT(german, HasSubstr(english.substr(at, english.find('}', at) + 1 - at)));
    }
  }
}

TEST_F(ClientTest, AQuestionAtATerminalPrecedesDestruction) {
  struct Case {
    std::optional<std::string> typed;
    Words words;
    bool isAsked, isDone;
  };
  const Case cases[] = {
      {"y", {"delete-files", "/a"}, true, true},
      {"", {"delete-files", "/a"}, true, false},
      {"n", {"--json", "erase-diskblocks", "sda", "1"}, true, false},
      {"n", {"--yes", "delete-files", "/a"}, false, true},
      {"n", {"touch-fileobject", "/a"}, false, true},
      {std::nullopt, {"delete-files", "/a"}, false, true},
      {"y", {"delete-fileobjects", "--no-preserve-root", "/"}, true, true},
      {"y", {"delete-fileobjects", "--no-preserve-mounts", "/proc"}, true, true},
      {"y", {"delete-fileobjects", "--no-preserve-home", "/usr/"}, true, true},
  };
  for (const auto& [typed, words, isAsked, isDone] : cases) {
    terminal.typed = typed;
    EXPECT_EQ(run(words), isDone ? 0 : 1) << testing::PrintToString(words);
    EXPECT_EQ(terminal.errors().find("[y/N]") != std::string::npos, isAsked);
    EXPECT_EQ(helper.calls.empty(), !isDone);
  }
}

TEST_F(ClientTest, ABatchHasOneConnectionAndRunsOnlyWhenEachLineIsRight) {
  const test::ScratchFolder scratch;
  const auto batch = [&](const std::string& text, Words words = {}) {
    words.insert(words.begin(), {"batch", scratch.file("batch", text)});
    return run(words);
  };
  EXPECT_EQ(batch("nop # one\n\n delete-foldercontents 'a\nb' \\\n c\\ d\ndiscard-auth"), 0);
  EXPECT_THAT(helper.calls,
              ElementsAre("connect " + defaultHelperAddress(), "register 42", "createExternalForm",
                          "perform 9998", "perform 4", "perform 9997", "unregister 42"));
  const std::pair<std::string, std::string> wrong[] = {
      {"nop\nnop 'a\n\n", "line 2: The quotation does not end"},
      {"nop\nnop; nop", "line 2: ';' is an operator of sh"},
      {"nop\nno", "line 2: There is no command 'no'"},
      {"nop\nbatch x", "line 2: batch cannot be used here"},
  };
  for (const auto& [text, problem] : wrong) {
    EXPECT_EQ(batch(text), 2) << text;
    EXPECT_THAT(terminal.errors(), HasSubstr(problem));
    EXPECT_TRUE(helper.calls.empty());
  }

  helper.answer = posixError(PosixCode::noEntry);
  EXPECT_EQ(batch("nop\nnop"), 4);
  EXPECT_THAT(terminal.errors(), HasSubstr("line 2: qrtctl nop: No such file"));
  EXPECT_THAT(terminal.errors(), HasSubstr("2 of 2 commands failed.\n"));
  EXPECT_EQ(batch("nop\nnop", {"--stop-on-first-error", "--json"}), 4);
  EXPECT_THAT(terminal.output(), testing::StartsWith(R"({"line":1,"words":["nop"]})"));
  EXPECT_THAT(terminal.output(), HasSubstr("1 of 2 commands failed; 1 was not run."));
}

}  // namespace
}  // namespace qrt
