#include "platform/linux/LinuxLog.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr const char* journalFolder = "/run/systemd/journal";
constexpr const char* journalSocket = "/run/systemd/journal/socket";

/// What `action` writes to standard error.
template <class Action>
std::string writtenToStandardError(Action action) {
  const test::ScratchFolder folder;
  const auto path = folder.file("stderr");
  const int saved = dup(STDERR_FILENO);
  const int file = open(path.c_str(), O_WRONLY | O_APPEND);
  dup2(file, STDERR_FILENO);
  close(file);
  action();
  dup2(saved, STDERR_FILENO);
  close(saved);
  return test::contentsOf(path);
}

/// A log of a system without a journal.
struct LogWithoutJournal {
  const test::ScratchFolder root;
  LinuxLog log{root.path(), LinuxLog::StandardError::use};
};

TEST(LinuxLog, LevelsArePrioritiesOnStandardError) {
  LogWithoutJournal system;
  EXPECT_EQ(writtenToStandardError([&] {
              auto& log = system.log;
              log.open("com.example", "standard");
              log.standard("Started %llu.", 7u);
              log.info("Public '%{public}@', private '%@'.", "a", "b");
              log.error("Failed.");
              log.fault("Broken.");
            }),
            "<5>Started 7.\n<6>Public 'a', private '<private>'.\n<3>Failed.\n<2>Broken.\n");
}

TEST(LinuxLog, IsSilentWhereStandardErrorIsNotTheLogs) {
  const test::ScratchFolder root;
  LinuxLog log(root.path(), LinuxLog::StandardError::avoid);
  EXPECT_EQ(writtenToStandardError([&] { log.fault("Broken."); }), "");
}

TEST(LinuxLog, NothingThatIsLoggedCanForgeALineOrSteerATerminal) {
  struct Case {
    std::string text;
    std::string shown;
  };
  const Case cases[] = {
      {"a\n<0>forged", "a\\x0a<0>forged"},
      {"\x1b[31mred\r\t\x7f", "\\x1b[31mred\\x0d\\x09\\x7f"},
      {std::string("zero\0end", 8), "zero\\x00end"},
      {"\xc2\x9b"
       "1m",
       "\\xc2\\x9b"
       "1m"},
      {"sch\xc3\xb6n \xf0\x9f\x98\x80", "sch\xc3\xb6n \xf0\x9f\x98\x80"},
      {"broken \xc3( \xff", "broken \\xc3( \\xff"},
      {"", ""},
  };
  LogWithoutJournal system;
  for (const auto& c : cases) {
    EXPECT_EQ(writtenToStandardError([&] { system.log.write(LogLevel::info, c.text); }),
              "<6>" + c.shown + "\n");
  }
}

TEST(LinuxLog, LongLinesAreCutBetweenCharacters) {
  LogWithoutJournal system;
  for (const std::string piece : {"x", "\xc3\xb6", "\x01"}) {
    std::string line;
    while (line.size() < 3 * LinuxLog::maximumBytes) line += piece;
    const auto written = writtenToStandardError([&] { system.log.write(LogLevel::info, line); });
    EXPECT_LE(written.size(), LinuxLog::maximumBytes);
    EXPECT_GT(written.size(), LinuxLog::maximumBytes - 5);
    const auto shown = piece == "\x01" ? std::string("\\x01") : piece;
    EXPECT_EQ((written.size() - 4) % shown.size(), 0u);
    EXPECT_TRUE(written.ends_with(shown + "\n"));
  }
}

/// In a child with a journal socket of its own: logs two lines and sends what arrived to `out`.
[[noreturn]] void logToOwnJournal(int out) {
  const bool isPrepared =
      unshare(CLONE_NEWNS) == 0 && mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
      mount("none", "/run", "tmpfs", 0, nullptr) == 0 && test::run({"mkdir", "-p", journalFolder});
  if (!isPrepared) _exit(2);
  const int journal = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{AF_UNIX, {}};
  std::strcpy(address.sun_path, journalSocket);
  if (bind(journal, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) _exit(1);

  LinuxLog log("/", LinuxLog::StandardError::use);
  log.error("Early.");
  log.open("com.example", "standard");
  log.fault("Broken\nPRIORITY=7 %{public}@", std::string(1 << 20, 'x'));
  char datagram[1 << 16];
  for (;;) {
    const auto length = recv(journal, datagram, sizeof datagram, MSG_DONTWAIT);
    if (length < 0) _exit(0);
    if (write(out, datagram, static_cast<std::size_t>(length)) != length) _exit(1);
    if (write(out, "--\n", 3) != 3) _exit(1);
  }
}

TEST(LinuxLog, TheJournalTakesFields) {
  int pipeEnds[2];
  ASSERT_EQ(pipe(pipeEnds), 0);
  const auto child = fork();
  if (child == 0) logToOwnJournal(pipeEnds[1]);
  close(pipeEnds[1]);
  std::string received;
  char buffer[4096];
  for (ssize_t length; (length = read(pipeEnds[0], buffer, sizeof buffer)) > 0;) {
    received.append(buffer, static_cast<std::size_t>(length));
  }
  close(pipeEnds[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "needs root for a mount namespace";
  ASSERT_EQ(status, 0);

  const auto split = received.find("--\n");
  ASSERT_NE(split, std::string::npos) << received;
  const auto early = "\n" + received.substr(0, split);
  const auto later = "\n" + received.substr(split + 3);
  EXPECT_NE(early.find("\nMESSAGE=Early.\n"), std::string::npos);
  EXPECT_NE(early.find("\nPRIORITY=3\n"), std::string::npos);
  EXPECT_EQ(early.find("SUBSYSTEM"), std::string::npos);
  EXPECT_NE(later.find("\nMESSAGE=Broken\\x0aPRIORITY=7 xxx"), std::string::npos);
  EXPECT_NE(later.find("\nPRIORITY=2\n"), std::string::npos);
  EXPECT_NE(later.find("\nSUBSYSTEM=com.example\n"), std::string::npos);
  EXPECT_NE(later.find("\nCATEGORY=standard\n"), std::string::npos);
  EXPECT_LT(later.size(), LinuxLog::maximumBytes + 200);
}

}  // namespace
}  // namespace qrt
