#include "platform/Log.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "platform/FileDescriptor.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr std::size_t maximumBytes = 4096;

/// On a system without a journal.
class LinuxLogTest : public testing::Test {
 protected:
  /// What a line of information is on standard error.
  std::string shown(const std::string& line) {
    testing::internal::CaptureStderr();
    log->write(LogLevel::info, line, {});
    return testing::internal::GetCapturedStderr();
  }

  const test::ScratchFolder root;
  const std::unique_ptr<Log> log = makeLog(root.path(), WithoutJournal::standardError);
};

TEST_F(LinuxLogTest, LevelsArePrioritiesOnStandardError) {
  testing::internal::CaptureStderr();
  makeLog(root.path(), WithoutJournal::nowhere)->fault("Not seen.");
  log->open("com.example", "standard");
  log->standard("Started %llu.", 7u);
  log->info("Public '%{public}@', private '%@'.", "a", "b");
  log->error("Failed.");
  log->fault("Broken.");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "<5>Started 7.\n<6>Public 'a', private '<private>'.\n<3>Failed.\n<2>Broken.\n");
}

TEST_F(LinuxLogTest, EscapesControlCharactersAndInvalidBytes) {
  const std::pair<std::string, std::string> cases[] = {
      {"a\n<0>forged", "a\\x0a<0>forged"},
      {"\x1b[31mred\r\t\x7f", "\\x1b[31mred\\x0d\\x09\\x7f"},
      {std::string("zero\0end", 8), "zero\\x00end"},
      {"\u009b1m", "\\xc2\\x9b1m"},
      {"sch\u00f6n \U0001f600", "sch\u00f6n \U0001f600"},
      {"broken \xc3( \xff", "broken \\xc3( \\xff"},
      {"", ""},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(shown(text), "<6>" + expected + "\n");
}

TEST_F(LinuxLogTest, LongLinesAreCutBetweenCharacters) {
  for (const std::string piece : {"x", "\u00f6", "\x01"}) {
    std::string line;
    while (line.size() < 3 * maximumBytes) line += piece;
    const auto written = shown(line);
    EXPECT_LE(written.size(), maximumBytes);
    EXPECT_GT(written.size(), maximumBytes - 5);
    const auto last = piece == "\x01" ? std::string("\\x01") : piece;
    EXPECT_EQ((written.size() - 4) % last.size(), 0u);
    EXPECT_TRUE(written.ends_with(last + "\n"));
  }
}

/// With a journal's socket of the test's own.
class JournalTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!run.isMounted()) GTEST_SKIP() << "needs the right to mount";
    test::run({"mkdir", "-p", "/run/systemd/journal"});
    const sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
    ASSERT_EQ(bind(journal.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }

  /// The fields of the next line, each after a line feed.
  std::string received() {
    char datagram[1 << 16];
    const auto length = recv(journal.get(), datagram, sizeof datagram, MSG_DONTWAIT);
    return "\n" + std::string(datagram, static_cast<std::size_t>(std::max(length, ssize_t{0})));
  }

  const test::Mount run{test::Mount::Kind::memory, "/run"};
  const FileDescriptor journal{socket(AF_UNIX, SOCK_DGRAM, 0)};
};

TEST_F(JournalTest, GetsTheFieldsOfALine) {
  const auto log = makeLog("/", WithoutJournal::nowhere);
  log->error("Early.");
  log->open("com.example", "standard");
  log->fault("Broken\nPRIORITY=7 %{public}@", std::string(1 << 20, 'x'));
  const auto early = received(), later = received();
  EXPECT_THAT(early, AllOf(HasSubstr("\nMESSAGE=Early.\n"), HasSubstr("\nPRIORITY=3\n")));
  EXPECT_THAT(early, Not(HasSubstr("SUBSYSTEM")));
  for (const auto* field : {"MESSAGE=Broken\\x0aPRIORITY=7 xxx", "PRIORITY=2\n",
                            "SUBSYSTEM=com.example\n", "CATEGORY=standard\n"}) {
    EXPECT_THAT(later, HasSubstr(std::string("\n") + field));
  }
  EXPECT_LT(later.size(), maximumBytes + 200);

  Caller caller{.userID = 1000, .processID = 42, .executable = "/bin/a\nb"};
  log->write(LogLevel::info, "Line.", {&caller, "touch-fileobject"});
  EXPECT_THAT(received(), AllOf(HasSubstr("\nMESSAGE=Line.\n"), HasSubstr("\nOBJECT_PID=42\n"),
                                HasSubstr("\nQRT_CLIENT_UID=1000\n"),
                                HasSubstr("\nQRT_CLIENT_EXE=/bin/a\\x0ab\n"),
                                HasSubstr("\nQRT_OPERATION=touch-fileobject\n")));
}

}  // namespace
}  // namespace qrt
