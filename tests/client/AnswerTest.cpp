// What the client prints for answers, failures and feedback, and its exit status.
#include <cstdint>
#include <cstdlib>

#include "ClientFixture.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::FakeHelper;
using testing::HasSubstr;

using AnswerTest = test::ClientFixture;

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }

Error cocoaError(std::int64_t code) { return {std::string(cocoaErrorDomain), code, {}}; }

Error protectedObject() {
  return withUnderlyingError(
      withFilePath(
          privilegedOperationError(
              16, "An object or its parent folder are explicitly protected against changes.",
              "Please verify that the object at '$1$' can be modified.", {"/a\n\xFF"}),
          "/a\n\xFF"),
      posixError(PosixCode::readOnlyFileSystem, "/b"));
}

TEST_F(AnswerTest, TextIsReadable) {
  const std::pair<Dictionary, std::string> cases[] = {
      {{{"ObjectExistence", 0}}, "nothing there"},
      {{{"ObjectExistence", 1.0}}, "folder"},
      {{{"ObjectExistence", 3}}, "3"},
      {{{"Size", 999}}, "999 B"},
      {{{"Size", 9949}}, "9.9 kB (9949 bytes)"},
      {{{"Size", 9950}}, "10 kB (9950 bytes)"},
      {{{"Size", 999'499}}, "999 kB (999499 bytes)"},
      {{{"Size", 999'500}}, "1.0 MB (999500 bytes)"},
      {{{"Size", UINT64_MAX}}, "18 EB (18446744073709551615 bytes)"},
      {{{"Size", 5}, {"Name", "a\x07"}}, "Name: a\\x07\nSize: 5 B"},
  };
  for (const auto& [answer, text] : cases) {
    helper.answer = privilegedOperationAnswer(answer);
    EXPECT_EQ(run({"nop"}), 0);
    EXPECT_EQ(terminal.output(), text + "\n");
  }
}

TEST_F(AnswerTest, JsonKeepsEveryValue) {
  const std::pair<PropertyValue, std::string> cases[] = {
      {"gr\xC3\xBC\xC3\x9F \"\\\n\xFF", "\"gr\xC3\xBC\xC3\x9F \\\"\\\\\\n\xF4\x8F\xBF\xBF\""},
      {true, "true"},
      {UINT64_MAX, "18446744073709551615"},
      {1.0, "1.0"},
      {1.0 / 3, "0.3333333333333333"},
      {Data{0xFB, 0xFF}, R"("+/8=")"},
      {Date{1500000000.25}, "1500000000.25"},
      {Array{1, "a", Array{false}}, R"([1,"a",[false]])"},
      {Dictionary{{"b\xFF", 1}, {"a", Dictionary{}}}, "{\"a\":{},\"b\xF4\x8F\xBF\xBF\":1}"},
  };
  for (const auto& [value, json] : cases) {
    helper.answer = privilegedOperationAnswer({{"V", value}});
    EXPECT_EQ(run({"nop", "--json"}), 0);
    EXPECT_EQ(terminal.output(), "{\"done\":true,\"answer\":{\"V\":" + json + "}}\n");
  }
}

TEST_F(AnswerTest, AFailureHasATextAndAStatus) {
  const std::tuple<Error, int, std::string> cases[] = {
      {posixError(PosixCode::notPermitted), 3, "Operation not permitted (POSIX error 1)\n"},
      {posixError(PosixCode::noEntry), 4, "No such file or directory (POSIX error 2)\n"},
      {posixError(PosixCode::canceled), 3, "Operation canceled (POSIX error 89)\n"},
      {posixError(static_cast<PosixCode>(4711)), 1, "The operation failed (POSIX error 4711)\n"},
      {osStatusError(-60007), 3,
       "The authorization needs a dialog, and none can be shown (OSStatus error -60007)\n"},
      {osStatusError(-50), 1, "The operation failed (OSStatus error -50)\n"},
      {cocoaError(4), 4, "The object does not exist (Cocoa error 4)\n"},
      {withUnderlyingError(cocoaError(513), posixError(PosixCode::noEntry)), 1,
       "The system does not permit it (Cocoa error 513)\n"
       "Cause: No such file or directory (POSIX error 2)\n"},
      {FakeHelper::brokenConnection(), 6,
       "The privileged helper has ended the connection (Cocoa error 4097)\n"},
      {{"un\x1B", 1, {}}, 1, "The operation failed (un\\x1b error 1)\n"},
      {privilegedOperationError(3, "Not completed.", "Why?"), 1, "Not completed.\nWhy?\n"},
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

TEST_F(AnswerTest, AFailureInJsonHasItsTextsAndCauses) {
  helper.answer = Error{"D",
                        -7,
                        {{"NSLocalizedDescription", "Bad"},
                         {"NSLocalizedRecoverySuggestion", "Do it"},
                         {"NSUnderlyingError", posixError(PosixCode::noEntry)}}};
  EXPECT_EQ(run({"nop", "--json"}), 1);
  EXPECT_EQ(terminal.output(),
            R"json({"done":false,"error":{"domain":"D","code":-7,"description":"Bad",)json"
            R"json("suggestion":"Do it","userInfo":{"NSLocalizedDescription":"Bad",)json"
            R"json("NSLocalizedRecoverySuggestion":"Do it","NSUnderlyingError":)json"
            R"json({"domain":"NSPOSIXErrorDomain","code":2,"description":)json"
            R"json("No such file or directory (POSIX error 2)","userInfo":{}}}}})json"
            "\n");
}

TEST_F(AnswerTest, AFailedUtilityGivesItsOutputAndItsStatus) {
  helper.feedback = {outputMessage(bytes("\x1B[32mok\x1B[0m\n")),
                     errorOutputMessage(bytes("bad\n"))};
  const std::string message = "qrtctl execute-utility: Not completed.\nCode.\n";
  const std::tuple<Words, int, std::string> cases[] = {
      {{"77"}, 77, ""},      {{"255"}, 255, ""},   {{"0"}, 1, message},
      {{"256"}, 1, message}, {{"2x"}, 1, message}, {{"2", "2"}, 1, message},
  };
  for (const auto& [parameters, status, text] : cases) {
    helper.answer = privilegedOperationError(3, "Not completed.", "Code.", parameters);
    EXPECT_EQ(run({"execute-utility", "chmod", "--", "-R"}), status);
    EXPECT_EQ(terminal.output(), "\x1B[32mok\x1B[0m\n");
    EXPECT_EQ(terminal.errors(), "bad\n" + text);
  }
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

  helper.feedback = {outputMessage(bytes("\xFF")),
                     recordsMessage(1, {Dictionary{{"Path", "\xFF"}, {"Size", 1u}}})};
  EXPECT_EQ(run({"--json", "delete-foldercontents", "/a"}), 0);
  EXPECT_EQ(terminal.take(),
            "{\"feedback\":{\"OutputData\":\"/w==\"}}\n"
            "{\"feedback\":{\"FileObjectInfo\":[{\"Path\":\"\xF4\x8F\xBF\xBF\",\"Size\":1}],"
            "\"ProgressFraction\":1.0}}\n"
            "{\"done\":true}\n");
}

TEST_F(AnswerTest, StringTablesTranslateAFailure) {
  const test::ScratchFolder bundle;
  test::plant(bundle, "Resources/xx.lproj/PrivilegedOperationErrors.strings",
              "\"An object or its parent folder are explicitly protected against changes.\" = "
              "\"N\xC3\xB6.\";"
              "\"Please verify that the object at '$1$' can be modified.\" = \"So: $1$!\";");
  bundlePath = bundle.path();
  language = "xx";
  helper.answer = protectedObject();
  EXPECT_EQ(run({"nop"}), 1);
  EXPECT_THAT(terminal.errors(),
              testing::StartsWith("qrtctl nop: N\xC3\xB6.\nSo: /a\\x0a\\xff!\nCause: "));
  EXPECT_EQ(run({"nop", "--json"}), 1);
  EXPECT_THAT(terminal.output(), HasSubstr("\"description\":\"N\xC3\xB6.\",\"suggestion\":\"So: "
                                           "/a\\n\xF4\x8F\xBF\xBF!\""));
}

}  // namespace
}  // namespace qrt
