#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "ClientFixture.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::FakeHelper;

class ClientTest : public test::ClientFixture {};

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }

Error protectedObject() {
  return withUnderlyingError(
      withFilePath(
          privilegedOperationError(
              16, "An object or its parent folder are explicitly protected against changes.",
              "Please verify that the object at '$1$' can be modified.", {"/a\n\xFF"}),
          "/a\n\xFF"),
      posixError(PosixCode::readOnlyFileSystem, "/b"));
}

TEST_F(ClientTest, SuccessIsSilentAndLeavesTheDaemonFree) {
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 0);
  EXPECT_EQ(terminal.output() + terminal.errors(), "");
  EXPECT_TRUE(helper.wasFeedbackWanted);
  EXPECT_EQ(helper.calls.back(), "unregister 42");

  EXPECT_EQ(run({"nop", "--json"}), 0);
  EXPECT_EQ(terminal.output(), "{\"done\":true}\n");
  EXPECT_FALSE(helper.wasFeedbackWanted);
}

TEST_F(ClientTest, ShowsTheVersion) {
  EXPECT_EQ(run({"version"}), 0);
  EXPECT_EQ(terminal.output(), "1.6\n");
  EXPECT_EQ(run({"--json", "version"}), 0);
  EXPECT_EQ(terminal.output(), "{\"done\":true,\"answer\":{\"version\":\"1.6\"}}\n");
  helper.versionFailure = FakeHelper::brokenConnection();
  EXPECT_EQ(run({"version"}), 6);
  EXPECT_EQ(terminal.errors(),
            "qrtctl version: The privileged helper has ended the connection (Cocoa error 4097)\n");
}

TEST_F(ClientTest, TellsThatTheHelperCannotBeReached) {
  helper.connectFailures.assign(4, FakeHelper::invalidConnection());
  EXPECT_EQ(run({"nop"}), 6);
  EXPECT_EQ(terminal.errors(),
            "qrtctl nop: The privileged helper cannot be reached (Cocoa error 4099)\n");
  EXPECT_EQ(run({"nop", "--json"}), 6);
  EXPECT_THAT(
      terminal.output(),
      testing::StartsWith(R"json({"done":false,"error":{"domain":"NSCocoaErrorDomain",)json"));
}

TEST_F(ClientTest, StreamsGoWhereTheyBelong) {
  const Dictionary record{{"Path", "/d/a\n"},
                          {"Type", "NSFileTypeDirectory"},
                          {"Size", std::uint64_t{4096}},
                          {"ModificationDate", Date{86400 * 366.0}},
                          {"Mode", 03751}};
  helper.feedback = {initialOutputMessage(),
                     outputMessage(bytes(std::string("o\0\xFF", 3))),
                     errorOutputMessage(bytes("e\x1B[0m")),
                     progressMessage(0.25),
                     recordsMessage(0.5, {record, Dictionary{}, "no record"}),
                     {{"Unknown", 1}, {"ProgressFraction", "half"}, {"OutputData", "text"}},
                     finalMessage()};
  setenv("TZ", "UTC", 1);
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 0);
  unsetenv("TZ");
  EXPECT_EQ(terminal.output(), std::string("o\0\xFF", 3) +
                                   "drwxr-s--t  4.1 kB  1971-01-02 00:00  /d/a\\x0a\n"
                                   "?                -  -                 -\n");
  EXPECT_EQ(terminal.errors(),
            "e\x1B[0mqrtctl delete-foldercontents: 20 %\nqrtctl delete-foldercontents: 50 %\n");
}

TEST_F(ClientTest, JsonLinesCarryEveryMessageAndTheResult) {
  helper.feedback = {progressMessage(0), outputMessage(bytes("\xFF")),
                     recordsMessage(1, {Dictionary{{"Path", "\xFF"}, {"Size", 1u}}}),
                     finalMessage()};
  helper.answer = privilegedOperationAnswer({{"Size", std::numeric_limits<std::uint64_t>::max()}});
  EXPECT_EQ(run({"--json", "delete-foldercontents", "/a"}), 0);
  EXPECT_EQ(terminal.output(),
            "{\"feedback\":{\"ProgressFraction\":0.0}}\n"
            "{\"feedback\":{\"OutputData\":\"/w==\"}}\n"
            "{\"feedback\":{\"FileObjectInfo\":[{\"Path\":\"\xF4\x8F\xBF\xBF\",\"Size\":1}],"
            "\"ProgressFraction\":1.0}}\n"
            "{\"feedback\":{\"FinalFeedbackMessage\":true}}\n"
            "{\"done\":true,\"answer\":{\"Size\":18446744073709551615}}\n");
  EXPECT_EQ(terminal.errors(), "");
}

TEST_F(ClientTest, AValueIsAnAnswer) {
  helper.answer = privilegedOperationAnswer({{"Size", 5}});
  EXPECT_EQ(run({"nop"}), 0);
  EXPECT_EQ(terminal.output(), "5 B\n");
  helper.answer = privilegedOperationAnswer({{"Size", 5}, {"Name", "a\x07"}});
  EXPECT_EQ(run({"nop"}), 0);
  EXPECT_EQ(terminal.output(), "Name: a\\x07\nSize: 5 B\n");
}

TEST_F(ClientTest, AFailureIsToldInWords) {
  struct Case {
    Error error;
    int status;
    std::string text;
  };
  const Case cases[] = {
      {posixError(PosixCode::invalidArgument), 1, "Invalid argument (POSIX error 22)\n"},
      {posixError(PosixCode::notEmpty, "/a"), 1,
       "Directory not empty (POSIX error 66)\nPath: /a\n"},
      {posixError(PosixCode::canceled), 3, "Operation canceled (POSIX error 89)\n"},
      {posixError(static_cast<PosixCode>(4711)), 1, "The operation failed (POSIX error 4711)\n"},
      {osStatusError(-60007), 3,
       "The authorization needs a dialog, and none can be shown (OSStatus error -60007)\n"},
      {withUnderlyingError({std::string(cocoaErrorDomain), 260, {}},
                           posixError(PosixCode::noEntry)),
       4,
       "The object does not exist (Cocoa error 260)\n"
       "Cause: No such file or directory (POSIX error 2)\n"},
      {{"un\x1B", 1, {}}, 1, "The operation failed (un\\x1b error 1)\n"},
      {protectedObject(), 1,
       "An object or its parent folder are explicitly protected against changes.\n"
       "Please verify that the object at '/a\\x0a\\xff' can be modified.\n"
       "Cause: Read-only file system (POSIX error 30)\nPath: /b\n"},
  };
  for (const auto& [error, status, text] : cases) {
    helper.answer = error;
    EXPECT_EQ(run({"nop"}), status) << text;
    EXPECT_EQ(terminal.errors(), "qrtctl nop: " + text);
    EXPECT_EQ(terminal.output(), "");
  }
}

TEST_F(ClientTest, AUtilityThatFailsSpeaksForItself) {
  helper.feedback = {outputMessage(bytes("\x1B[32mok\x1B[0m\n")),
                     errorOutputMessage(bytes("bad\n"))};
  helper.answer = privilegedOperationError(3, "Not completed.", "Code $1$.", {"77"});
  EXPECT_EQ(run({"execute-utility", "chmod", "--", "-R"}), 77);
  EXPECT_EQ(terminal.output(), "\x1B[32mok\x1B[0m\n");
  EXPECT_EQ(terminal.errors(), "bad\n");
  EXPECT_EQ(run({"--json", "execute-utility", "chmod"}), 77);
  EXPECT_THAT(terminal.output(), testing::HasSubstr(R"("done":false)"));

  helper.answer = privilegedOperationError(3, "Not completed.", "Code $1$.", {"-1"});
  EXPECT_EQ(run({"execute-utility", "chmod"}), 1);
  EXPECT_EQ(terminal.errors(), "bad\nqrtctl execute-utility: Not completed.\nCode -1.\n");
}

TEST_F(ClientTest, SpeaksTheLanguageOfItsTables) {
  const test::ScratchFolder bundle;
  bundle.folder("Resources");
  bundle.folder("Resources/xx.lproj");
  const auto* const table =
      "\"An object or its parent folder are explicitly protected against changes.\" = "
      "\"Ein Objekt oder sein Ordner ist gesch\xC3\xBCtzt.\";\n"
      "\"Please verify that the object at '$1$' can be modified.\" = "
      "\"\xC3\x84ndern Sie \xE2\x80\x9E$1$\xE2\x80\x9C.\";\n";
  bundle.file("Resources/xx.lproj/PrivilegedOperationErrors.strings", table);
  bundlePath = bundle.path();
  helper.answer = protectedObject();
  helper.answer->userInfo.erase(std::string(underlyingErrorKey));

  language = "xx";
  EXPECT_EQ(run({"nop"}), 1);
  EXPECT_EQ(terminal.errors(),
            "qrtctl nop: Ein Objekt oder sein Ordner ist gesch\xC3\xBCtzt.\n"
            "\xC3\x84ndern Sie \xE2\x80\x9E/a\\x0a\\xff\xE2\x80\x9C.\n");
  EXPECT_EQ(run({"nop", "--json"}), 1);
  EXPECT_THAT(terminal.output(),
              testing::HasSubstr("\"description\":\"Ein Objekt oder sein Ordner ist "
                                 "gesch\xC3\xBCtzt.\",\"suggestion\":\"\xC3\x84ndern Sie "
                                 "\xE2\x80\x9E/a\\n\xF4\x8F\xBF\xBF\xE2\x80\x9C.\""));
  language = "C";
  EXPECT_EQ(run({"nop"}), 1);
  EXPECT_THAT(terminal.errors(), testing::StartsWith("qrtctl nop: An object or its parent"));
}

TEST_F(ClientTest, AnInterruptionSaysThatTheOperationGoesOn) {
  helper.whileItRuns = [&] { caller.interrupt(); };
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 130);
  EXPECT_EQ(terminal.errors(),
            "qrtctl delete-foldercontents: Interrupted.\n"
            "The operation goes on in the privileged helper.\n");
  // Unregistering could end the daemon under the operation.
  EXPECT_EQ(helper.calls.back(), "unregister later 42");

  EXPECT_EQ(run({"--json", "delete-foldercontents", "/a"}), 130);
  EXPECT_THAT(terminal.output(),
              testing::StartsWith(
                  R"json({"done":false,"error":{"domain":"NSPOSIXErrorDomain","code":4,)json"));

  // The daemon's own "interrupted" is a failure like any other.
  helper.whileItRuns = nullptr;
  helper.answer = posixError(PosixCode::interrupted);
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_EQ(helper.calls.back(), "unregister 42");
}

TEST_F(ClientTest, AsksForPasswordsItselfWhenNobodyElseDoes) {
  const auto needsDialog = osStatusError(number(AuthorizationStatus::interactionNotAllowed));
  helper.answer = needsDialog;
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 3);
  EXPECT_EQ(std::count(helper.calls.begin(), helper.calls.end(), "perform 6"), 1);
  EXPECT_EQ(caller.agentsAskedFor, 1);

  caller.hasAgent = true;
  helper.calls.clear();
  helper.whileItRuns = [&, attempt = 0]() mutable {
    helper.answer = attempt++ == 0 ? Outcome(needsDialog) : success;
  };
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 0);
  EXPECT_EQ(std::count(helper.calls.begin(), helper.calls.end(), "perform 6"), 2);

  // Interrupted at the question: the daemon tells what became of it, and is left in order.
  helper.whileItRuns = [&, attempt = 0]() mutable {
    helper.answer = needsDialog;
    if (attempt++ == 0) return;
    caller.interrupt();
    helper.answer = posixError(PosixCode::notPermitted);
  };
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 130);
  EXPECT_TRUE(caller.wasAgentDismissed);
  EXPECT_THAT(terminal.errors(), testing::HasSubstr("Nothing was done."));
  EXPECT_EQ(helper.calls.back(), "unregister 42");

  // Anything else is an answer.
  caller.agentsAskedFor = 0;
  helper.whileItRuns = nullptr;
  helper.answer = posixError(PosixCode::notPermitted);
  EXPECT_EQ(run({"touch-fileobject", "/a"}), 3);
  EXPECT_EQ(caller.agentsAskedFor, 0);
}

TEST_F(ClientTest, StopsWhenNobodyReadsItsOutput) {
  helper.feedback = {outputMessage(bytes("a")), outputMessage(bytes("b"))};
  terminal.deaf = {StandardStream::output};
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_EQ(helper.calls.back(), "unregister later 42");
  EXPECT_EQ(run({"version"}), 1);
  EXPECT_EQ(run({"--help"}), 1);
}

TEST_F(ClientTest, ProgressMakesRoomForOutputAndForTheMessage) {
  terminal.terminals = {StandardStream::output, StandardStream::error};
  helper.feedback = {progressMessage(0.5)};
  helper.whileItRuns = [&] {
    for (int i = 0; i < 1000 && terminal.errors().empty(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  };
  helper.answer = posixError(PosixCode::busy);
  EXPECT_EQ(run({"delete-foldercontents", "/a"}), 1);
  EXPECT_THAT(terminal.errors(),
              testing::MatchesRegex("\rqrtctl delete-foldercontents .* 50 %  0:0[0-9]\r +\r"
                                    "qrtctl delete-foldercontents: Device or resource busy .*"));
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
  EXPECT_THAT(terminal.errors(), testing::HasSubstr("33 rights could not be installed."));
  authority.createStatus = AuthorizationStatus::denied;
  EXPECT_EQ(run({"install-rights"}), 3);
  self.userID = 1000;
  authority.takeCalls();
  EXPECT_EQ(run({"remove-rights"}), 3);
  EXPECT_TRUE(authority.takeCalls().empty());
  EXPECT_TRUE(helper.calls.empty());
}

}  // namespace
}  // namespace qrt
