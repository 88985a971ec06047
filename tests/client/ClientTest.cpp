#include <algorithm>
#include <optional>
#include <thread>

#include "ClientFixture.h"
#include "client/cli/Doctor.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"

namespace qrt {
namespace {

using test::FakeHelper;
using testing::HasSubstr;

class ClientTest : public test::ClientFixture {};

TEST_F(ClientTest, SuccessIsSilentAndLeavesTheDaemonFree) {
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 0);
  EXPECT_EQ(terminal.take(), "");
  EXPECT_TRUE(helper.wasFeedbackWanted);
  EXPECT_THAT(helper.calls,
              testing::ElementsAre("connect " + defaultHelperAddress(), "register 42",
                                   "createExternalForm", "perform 4", "unregister 42"));

  EXPECT_EQ(run({"nop", "--json"}), 0);
  EXPECT_EQ(terminal.take(), "{\"done\":true}\n");
  EXPECT_FALSE(helper.wasFeedbackWanted);
}

TEST_F(ClientTest, ShowsTheVersion) {
  EXPECT_EQ(run({"version"}), 0);
  EXPECT_EQ(terminal.output(), "1.6\n");
  EXPECT_EQ(run({"--json", "version"}), 0);
  EXPECT_EQ(terminal.output(), "{\"done\":true,\"answer\":{\"version\":\"1.6\"}}\n");
}

TEST_F(ClientTest, TellsThatTheHelperCannotBeReached) {
  helper.version = FakeHelper::brokenConnection();
  EXPECT_EQ(run({"version"}), 6);
  for (const std::string word : {"nop", "version", "doctor"}) {
    helper.connectFailures.assign(2, FakeHelper::invalidConnection());
    EXPECT_EQ(run({"--json", word}), 6);
    EXPECT_THAT(terminal.output(), HasSubstr("cannot be reached")) << word;
  }
}

TEST_F(ClientTest, SaysThatItWaitsForAHelperThatStartsSlowly) {
  noticeDelay = std::chrono::milliseconds(1);
  helper.start = std::chrono::milliseconds(200);
  EXPECT_EQ(run({"nop"}), 0);
  EXPECT_EQ(terminal.errors(), "qrtctl: waiting for the helper to start\n");
  EXPECT_EQ(run({"--json", "nop"}), 0);
  EXPECT_EQ(terminal.errors(), "");
}

TEST_F(ClientTest, AnInterruptionSaysThatTheOperationGoesOn) {
  helper.whileItRuns = [&] { caller.interrupt(); };
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 130);
  EXPECT_EQ(terminal.errors(),
            "qrtctl delete-foldercontents: Interrupted.\n"
            "The operation continues in the privileged helper.\n");
  // Unregistering could end the daemon under the operation.
  EXPECT_EQ(helper.calls.back(), "unregister later 42");

  EXPECT_EQ(run({"--json", "delete-foldercontents", "/a"}), 130);
  EXPECT_THAT(terminal.output(),
              testing::StartsWith(
                  R"json({"done":false,"error":{"domain":"NSPOSIXErrorDomain","code":4,)json"));

  // What was not asked for yet does not go on.
  helper.whileItAuthorizes = std::exchange(helper.whileItRuns, nullptr);
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 130);
  EXPECT_THAT(terminal.errors(), testing::EndsWith("Interrupted.\nNothing was done.\n"));
  EXPECT_EQ(helper.calls.back(), "unregister 42");

  // The daemon's own "interrupted" is a failure like any other.
  helper.whileItAuthorizes = nullptr;
  helper.answer = posixError(PosixCode::interrupted);
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_EQ(helper.calls.back(), "unregister 42");
}

TEST_F(ClientTest, AsksForPasswordsOnceAndGivesUpTheQuestionAlone) {
  const auto performed = [&] {
    const auto count = std::count(helper.calls.begin(), helper.calls.end(), "perform 6");
    helper.calls.clear();
    return count;
  };
  const auto needsDialog = osStatusError(-60007), refusal = posixError(PosixCode::notPermitted);
  helper.answer = needsDialog;
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 3);
  EXPECT_EQ(performed(), 1) << "there is nobody who could ask";

  caller.hasAgent = true;
  helper.answer = refusal;
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 3);
  EXPECT_EQ(performed(), 1) << "that was an answer";

  // The daemon tells what became of the request, and is left in order.
  helper.answer = needsDialog;
  helper.whileItRuns = [&, attempt = 0]() mutable {
    if (attempt++ == 0) return;
    caller.interrupt();
    helper.answer = refusal;
  };
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 130);
  EXPECT_EQ(terminal.errors(), "qrtctl touch-fileobject: Interrupted.\nNothing was done.\n");
  EXPECT_EQ(helper.calls.back(), "unregister 42");
  EXPECT_EQ(performed(), 2);
}

TEST_F(ClientTest, StopsWhenNobodyReadsItsOutput) {
  helper.feedback = {outputMessage(Data{'a'}), outputMessage(Data{'b'})};
  terminal.deaf = {StandardStream::output};
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_EQ(helper.calls.back(), "unregister later 42");
  EXPECT_EQ(run({"version"}), 1);
  EXPECT_EQ(run({"--help"}), 1);
}

TEST_F(ClientTest, AnInterruptionDoesNotWaitForWhoeverReads) {
  terminal.slow = {StandardStream::output};
  terminal.whileWriting = [&] { caller.interrupt(); };
  helper.feedback = {outputMessage(Data{'a'})};
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 130);
  EXPECT_THAT(terminal.errors(), HasSubstr("The operation continues"));
  // Done by then, but not told.
  helper.feedback.clear();
  helper.answer = privilegedOperationAnswer({{"a", 1}});
  EXPECT_EQ(run({"inspect-storagesize", "/a"}), 130);
}

TEST_F(ClientTest, ProgressMovesByItselfAndMakesRoomForTheMessage) {
  terminal.terminals = {StandardStream::output, StandardStream::error};
  helper.feedback = {progressMessage(0.5)};
  helper.whileItRuns = [&] {
    // Nothing but the time can make the line different.
    std::string drawn;
    for (int i = 0; i < 1000 && std::count(drawn.begin(), drawn.end(), '\r') < 2; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      drawn = terminal.errors();
    }
  };
  helper.answer = posixError(PosixCode::busy);
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_THAT(terminal.errors(),
              testing::MatchesRegex("(\rqrtctl delete-foldercontents [^\r]+ 50 %  0:0[0-9]){2,}"
                                    "\r +\r\x1B\\[31mqrtctl delete-foldercontents\x1B\\[0m: "
                                    "Device or resource busy .*"));
}

TEST_F(ClientTest, InstallsAndRemovesRightsForRootOnly) {
  EXPECT_EQ(run({"install-rights", "--json"}), 0);
  EXPECT_EQ(terminal.output(), "{\"done\":true,\"answer\":{\"installed\":33}}\n");
  EXPECT_EQ(authority.rights().size(), 33u);
  EXPECT_EQ(authority.rights().at("com.vantor.vk2.nop").definition, "allow");
  EXPECT_EQ(run({"remove-rights"}), 0);
  EXPECT_EQ(terminal.output(), "0\n");
  EXPECT_TRUE(authority.rights().empty());

  authority.rightSetStatus = AuthorizationStatus::denied;
  EXPECT_EQ(run({"install-rights"}), 1);
  EXPECT_THAT(terminal.errors(), HasSubstr("33 rights could not be installed."));
  authority.createStatus = AuthorizationStatus::denied;
  EXPECT_EQ(run({"install-rights"}), 3);
  self.userID = 1000;
  authority.takeCalls();
  EXPECT_EQ(run({"remove-rights"}), 3);
  EXPECT_TRUE(authority.takeCalls().empty());
  EXPECT_TRUE(helper.calls.empty());
}

TEST_F(ClientTest, AsksAPersonBeforeItDestroys) {
  struct Case {
    std::optional<std::string> typed;
    std::vector<std::string> words;
    bool isAsked;
    bool isDone;
  };
  const Case cases[] = {
      {"y", {"delete-files", "/a"}, true, true},
      {"", {"delete-files", "/a"}, true, false},
      {"n", {"--json", "erase-diskblocks", "sda", "1"}, true, false},
      {"n", {"--yes", "delete-files", "/a"}, false, true},
      {"n", {"touch-fileobject", "/a"}, false, true},
      {std::nullopt, {"delete-files", "/a"}, false, true},
  };
  for (const auto& [typed, words, isAsked, isDone] : cases) {
    helper.calls.clear();
    terminal.typed = typed;
    EXPECT_EQ(run(words), isDone ? 0 : 1) << testing::PrintToString(words);
    EXPECT_EQ(terminal.errors().find("[y/N]") != std::string::npos, isAsked);
    EXPECT_EQ(helper.calls.empty(), !isDone);
  }
}

TEST_F(ClientTest, TheDoctorFailsOnlyOnAProblem) {
  EXPECT_EQ(run({"doctor"}), 0) << terminal.output();
  EXPECT_THAT(terminal.output(), HasSubstr("  1.6\n"));
  EXPECT_FALSE(hasProblem(diagnoseSystem({"polkit", true}, {{"a", false, false, ""}})));
  EXPECT_TRUE(hasProblem(diagnoseSystem({"polkit", true}, {{"a", false, true, ""}})));
}

TEST_F(ClientTest, ExplainsOperationsWithoutAHelper) {
  EXPECT_EQ(run({"operations"}), 0);
  EXPECT_THAT(terminal.output(), HasSubstr("\nnop                    everybody       nothing   "
                                           "Perform an empty operation"));
  EXPECT_EQ(run({"explain", "write-smcvalue"}), 0);
  EXPECT_THAT(terminal.output(), HasSubstr("com.vantor.vk2.write-smcvalue"));
  EXPECT_EQ(run({"explain", "format-planet"}), 2);
  EXPECT_EQ(run({"generate", "nothing"}), 2);
  EXPECT_TRUE(helper.calls.empty());
}

}  // namespace
}  // namespace qrt
