// What the client prints for answers, failures and feedback, and its exit status.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "ClientFixture.h"
#include "client/cli/output/FoldedText.h"
#include "client/cli/output/ProgressLine.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::FakeHelper;
using testing::HasSubstr;

using AnswerTest = test::ClientFixture;

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }

Error protectedObject() {
  const auto error = privilegedOperationError(
      16, "An object or its parent folder are explicitly protected against changes.",
      "Please verify that the object at '$1$' can be modified.", {"/a\n\xFF"});
  return withUnderlyingError(withFilePath(error, "/a\n\xFF"),
                             posixError(PosixCode::readOnlyFileSystem, "/b"));
}

TEST_F(AnswerTest, TextIsReadableAndJsonKeepsEveryValue) {
  const std::tuple<std::string, PropertyValue, std::string, std::string> cases[] = {
      {"ObjectExistence", 0, "nothing there", "0"},
      {"ObjectExistence", 3, "3", "3"},
      {"Size", 9950, "10 kB (9950 bytes)", "9950"},
      {"Size", 999'500, "1.0 MB (999500 bytes)", "999500"},
      {"Size", UINT64_MAX, "18 EB (18446744073709551615 bytes)", "18446744073709551615"},
      {"V", "\xC3\xBC\"\\\n\xFF", "\xC3\xBC\"\\\\x0a\\xff",
       "\"\xC3\xBC\\\"\\\\\\n\xF4\x8F\xBF\xBF\""},
      {"V", "a\u202E\u2066\u009B", "a\\xe2\\x80\\xae\\xe2\\x81\\xa6\\xc2\\x9b",
       R"("a\u202e\u2066\u009b")"},
      {"V", 1.0 / 3, "0.3333333333333333", "0.3333333333333333"},
      {"V", Data{0xFB, 0xFF}, R"("+/8=")", R"("+/8=")"},
      {"V", Date{1500000000.25}, "1500000000.25", "1500000000.25"},
      {"V", Array{1, "a", Array{true}}, R"([1,"a",[true]])", R"([1,"a",[true]])"},
      {"V", Dictionary{{"b\xFF", 1}}, "{\"b\xF4\x8F\xBF\xBF\":1}", "{\"b\xF4\x8F\xBF\xBF\":1}"},
  };
  for (const auto& [key, value, text, json] : cases) {
    helper.answer = privilegedOperationAnswer({{key, value}});
    EXPECT_EQ(run({"nop"}), 0);
    EXPECT_EQ(terminal.output(), text + "\n");
    EXPECT_EQ(run({"nop", "--json"}), 0);
    EXPECT_EQ(terminal.output(), R"({"done":true,"answer":{")" + key + "\":" + json + "}}\n");
  }
  helper.answer = privilegedOperationAnswer({{"Size", 5}, {"Name", "a\x07"}});
  EXPECT_EQ(run({"nop"}), 0);
  EXPECT_EQ(terminal.output(), "Name: a\\x07\nSize: 5 B\n");
}

TEST_F(AnswerTest, TextFoldsAtTheWidthOfATerminalOnly) {
  const std::tuple<std::string, std::size_t, std::string> cases[] = {
      {"  --a  one two\n\nx", 11, "  --a\n      one\n      two\n\nx\n"},
      {"a  \x1B[32m\u00FC\x1B[0m 22 333 4444 55555 666666 7\n", 28,
       "a  \x1B[32m\u00FC\x1B[0m 22 333 4444 55555\n   666666 7\n"},
      {"a  an abcdefghijklmnopqrstuvwxyz\n", 28, "a\n    an\n    abcdefghijklmnopqrstuvwxyz\n"},
      {"          deep text", 11, "      deep\n      text\n"},
  };
  for (const auto& [text, width, wanted] : cases) EXPECT_EQ(folded(text, width), wanted);
  const auto longest = [&](const Words& words) {
    EXPECT_EQ(run(words), 0);
    std::size_t most = 0;
    std::istringstream lines(terminal.output());
    for (std::string line; std::getline(lines, line);) {
      // A line of one word is as long as the word.
      if (line.find(' ', line.find_first_not_of(' ')) != std::string::npos) {
        most = std::max(most, line.size());
      }
    }
    return most;
  };
  terminal.width = 40;
  for (const auto& words : {Words{"--help"}, {"explain", "modify-acl"}, {"operations"}}) {
    terminal.terminals = {StandardStream::output};
    EXPECT_LE(longest(words), terminal.width) << words.front();
    terminal.terminals = {};
    EXPECT_GT(longest(words), 2 * terminal.width) << words.front();
  }
}

TEST_F(AnswerTest, AFailureHasATextAndAStatus) {
  const std::tuple<Error, int, std::string> cases[] = {
      {posixError(PosixCode::notPermitted), 3, "Operation not permitted (POSIX error 1)\n"},
      {posixError(PosixCode::noEntry), 4, "No such file or directory (POSIX error 2)\n"},
      {posixError(static_cast<PosixCode>(4711)), 1, "The operation failed (POSIX error 4711)\n"},
      {osStatusError(-60007), 3,
       "The authorization needs a dialog, and none can be shown (OSStatus error -60007)\n"},
      {{std::string(cocoaErrorDomain), 4, {}}, 4, "The object does not exist (Cocoa error 4)\n"},
      {FakeHelper::brokenConnection(), 6,
       "The privileged helper has ended the connection (Cocoa error 4097)\n"},
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

TEST_F(AnswerTest, AFailedUtilityGivesItsOutputAndItsStatus) {
  helper.feedback = {outputMessage(bytes("\x1B[32mok\x1B[0m\n")),
                     errorOutputMessage(bytes("bad\n"))};
  const std::string message = "qrtctl execute-utility: Not completed.\nCode.\n";
  const std::tuple<Words, int, std::string> cases[] = {
      {{"255"}, 255, ""}, {{"0"}, 1, message}, {{"256"}, 1, message}, {{"2", "2"}, 1, message}};
  for (const auto& [parameters, status, text] : cases) {
    helper.answer = privilegedOperationError(3, "Not completed.", "Code.", parameters);
    EXPECT_EQ(run({"execute-utility", "chmod", "--", "-R"}), status);
    EXPECT_EQ(terminal.output(), "\x1B[32mok\x1B[0m\n");
    EXPECT_EQ(terminal.errors(), "bad\n" + text);
  }
  helper.answer = privilegedOperationError(3, "Not completed.", "Code.", {"9"});
  helper.answer->userInfo.emplace("QRTProgramSignal", 9);
  EXPECT_EQ(run({"execute-utility", "chmod"}), 137);
  EXPECT_THAT(terminal.errors(), HasSubstr("The program was killed by signal 9 (Killed).\n"));
}

TEST_F(AnswerTest, FeedbackGoesToItsStreams) {
  const Dictionary record{{"Path", "/d/a\n"},
                          {"Type", "NSFileTypeDirectory"},
                          {"Size", std::uint64_t{4096}},
                          {"ModificationDate", Date{86400 * 366.0}},
                          {"Mode", 03751}};
  helper.feedback = {initialOutputMessage(),
                     outputMessage(bytes(std::string("o\0\xFF", 3))),
                     errorOutputMessage(bytes("e\x1B[0m")),
                     progressMessage(0.25),
                     progressMessage(std::nan("")),
                     progressMessage(-1),
                     recordsMessage(0.5, {record, Dictionary{}, "no record"}),
                     {{"Unknown", 1}, {"ProgressFraction", "half"}, {"OutputData", "text"}},
                     progressMessage(7),
                     finalMessage()};
  setenv("TZ", "UTC", 1);
  EXPECT_EQ(run({"delete-foldercontents", "/a", "--quiet", "--progress"}), 0);
  EXPECT_EQ(terminal.errors(), "e\x1B[0m");
  EXPECT_EQ(run({"delete-foldercontents", "/a", "--progress"}), 0);
  unsetenv("TZ");
  EXPECT_EQ(terminal.output(), std::string("o\0\xFF", 3) +
                                   "drwxr-s--t  4.1 kB  1971-01-02 00:00  /d/a\\x0a\n"
                                   "?                -  -                 -\n");
  EXPECT_EQ(terminal.errors(),
            "e\x1B[0mqrtctl delete-foldercontents: 20 %\nqrtctl delete-foldercontents: 50 %\n"
            "qrtctl delete-foldercontents: 100 %\n");

  helper.feedback = {outputMessage(bytes("\xFF")),
                     recordsMessage(1, {Dictionary{{"Path", "\xFF"}}})};
  EXPECT_EQ(run({"--json", "delete-foldercontents", "/a"}), 0);
  EXPECT_EQ(terminal.take(),
            "{\"feedback\":{\"OutputData\":\"/w==\"}}\n"
            "{\"feedback\":{\"FileObjectInfo\":[{\"Path\":\"\xF4\x8F\xBF\xBF\"}],"
            "\"ProgressFraction\":1.0}}\n"
            "{\"done\":true}\n");
}

using std::chrono::hours;
using std::chrono::milliseconds;

const ProgressLine::TimePoint start{hours(5)};

TEST(ProgressLine, NeverReachesTheLastColumn) {
  for (std::size_t width = 1; width < 120; ++width) {
    test::FakeTerminal terminal;
    terminal.width = width;
    const std::atomic<bool> isStopping = false;
    ProgressLine line(terminal, "delete-foldercontents", start, isStopping);
    line.setFraction(0.5, start + hours(30));
    const auto drawn = terminal.take();
    EXPECT_LE(drawn.size() - 1, std::max<std::size_t>(width, 2) - 1) << width;
    const bool hasRoomForFigures = width >= 16;
    EXPECT_EQ(drawn.find(" 50 %  30:00:00") != std::string::npos, hasRoomForFigures) << width;

    terminal.width = width / 2;
    line.tick(start + hours(31));
    EXPECT_LE(terminal.take().size(), std::max<std::size_t>(width / 2, 2))
        << "narrower than before";
  }
}

TEST(ProgressLine, ShowsWhatIsKnownWhileTheProgressDoesNotMove) {
  using namespace std::chrono_literals;
  test::FakeTerminal terminal;
  std::atomic<bool> isStopping = false;
  ProgressLine line(terminal, "q", start, isStopping);
  const auto shown = [&](const auto& change, std::chrono::seconds time) {
    change();
    line.tick(start + time);
    const auto drawn = terminal.take();
    return drawn.substr(1, drawn.find_last_not_of(' '));
  };
  EXPECT_EQ(shown([] {}, 1s), "q  working  0:01");
  EXPECT_EQ(shown([&] { line.addFound(1240); }, 2s), "q  1,240 found  0:02");
  EXPECT_EQ(shown([&] { line.setFraction(0.5, start + 3s); }, 3s),
            "q  [" + std::string(20, '#') + std::string(20, '.') + "]   50 %  1,240 found  0:03");
  EXPECT_EQ(shown([] {}, 7s), "q   50 %  1,240 found  0:07");
  EXPECT_EQ(shown([&] { isStopping = true; }, 8s),
            "q  stopping; Ctrl-C again leaves   50 %  1,240 found  0:08");
  line.finish(start + 9s);
  EXPECT_THAT(terminal.take(), testing::EndsWith("\rq: 1,240 found in 0:09\n"));
}

}  // namespace
}  // namespace qrt
