#include "platform/Subprocess.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>

#include "platform/posix/DescriptorLimit.h"
#include "platform/posix/PosixSubprocess.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Finished {
  PosixCode launched = PosixCode::success;
  std::int32_t status = -1;
  std::string output;
  std::string error;
  std::size_t largestPiece = 0;
  Clock::duration time{};
};

Finished runProgram(const std::string& path, const std::vector<std::string>& arguments,
                    const EnvironmentChanges& environment = {}) {
  PosixSubprocessFacility facility;
  Finished outcome;
  const auto start = Clock::now();
  const auto prepared = facility.prepare();
  if (!prepared) {
    outcome.launched = prepared.error();
    return outcome;
  }
  auto& subprocess = **prepared;
  outcome.launched = subprocess.launch({path, arguments, environment});
  if (outcome.launched != PosixCode::success) return outcome;
  const auto receive = [&outcome](StandardStream stream, std::span<const std::uint8_t> piece) {
    auto& text = stream == StandardStream::output ? outcome.output : outcome.error;
    text.append(piece.begin(), piece.end());
    outcome.largestPiece = std::max(outcome.largestPiece, piece.size());
  };
  outcome.status = subprocess.waitUntilExit(receive);
  subprocess.drain(receive);
  outcome.time = Clock::now() - start;
  return outcome;
}

Finished runScript(const std::string& script) { return runProgram("/bin/sh", {"-c", script}); }

TEST(Subprocess, StatusAndStreamsArrive) {
  struct Case {
    const char* script;
    std::int32_t status;
    std::string output;
    std::string error;
  };
  const Case cases[] = {
      {"exit 0", 0, "", ""},
      {"exit 255", 255, "", ""},
      {"echo out; echo err >&2; exit 7", 7, "out\n", "err\n"},
      {"printf 1; printf a >&2; printf 2; printf b >&2", 0, "12", "ab"},
      {"echo before; kill -KILL $$", SIGKILL, "before\n", ""},
      {"kill -USR1 $$", SIGUSR1, "", ""},
      // The streams end long before the program does, and the other way round.
      {"exec >&- 2>&-; sleep 0.2; exit 3", 3, "", ""},
      {"(sleep 0.2; echo late) & exit 4", 4, "late\n", ""},
      {"(sleep 0.2; echo late >&2) >&- & exit 5", 5, "", "late\n"},
  };
  for (const auto& c : cases) {
    const auto outcome = runScript(c.script);
    EXPECT_EQ(outcome.status, c.status) << c.script;
    EXPECT_EQ(outcome.output, c.output) << c.script;
    EXPECT_EQ(outcome.error, c.error) << c.script;
  }
}

TEST(Subprocess, AFloodArrivesWholeAndInPieces) {
  const auto outcome =
      runScript("head -c 20000000 /dev/zero & head -c 10000000 /dev/zero >&2 & wait; exit 9");
  EXPECT_EQ(outcome.status, 9);
  EXPECT_EQ(outcome.output.size(), 20000000u);
  EXPECT_EQ(outcome.error.size(), 10000000u);
  EXPECT_LE(outcome.largestPiece, Subprocess::maximumPiece);
}

TEST(Subprocess, TheInputIsOpenAndSilentUntilTheExit) {
  EXPECT_EQ(runScript("timeout 0.3 cat; test $? = 124").status, 0);
}

TEST(Subprocess, WhatAProgramLeavesBehindHoldsNobodyUp) {
  const auto outcome = runScript("sleep 60 & echo $!; exit 6");
  EXPECT_EQ(outcome.status, 6);
  EXPECT_GE(outcome.time, Subprocess::drainPatience);
  EXPECT_LT(outcome.time, Subprocess::drainPatience + 1s);
  kill(std::stoi(outcome.output), SIGKILL);
}

TEST(Subprocess, AProgramThatIsNotWaitedForIsReapedAllTheSame) {
  PosixSubprocessFacility facility;
  const std::string path = "/bin/sh";
  {
    const auto prepared = facility.prepare();
    ASSERT_TRUE(prepared);
    // With nobody to read what it writes it ends at once.
    EXPECT_EQ((*prepared)->launch({path, {"-c", "while :; do echo x; done"}, {}}),
              PosixCode::success);
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(Subprocess, ProgramsThatCannotBeLaunchedTellWhy) {
  const test::ScratchFolder folder;
  const auto withoutMode = folder.file("data", "x");
  const auto withoutFormat = folder.file("tool", "no format");
  chmod(withoutFormat.c_str(), 0755);
  const auto withoutInterpreter = folder.file("script", "#!/absent\n");
  chmod(withoutInterpreter.c_str(), 0755);
  const std::pair<std::string, std::int32_t> cases[] = {
      {"/absent", 2},     {folder.path(), 13},     {withoutMode, 13},
      {withoutFormat, 8}, {withoutInterpreter, 2}, {std::string("/bin/sh\0", 8), 22},
  };
  for (const auto& [path, code] : cases) {
    EXPECT_EQ(number(runProgram(path, {}).launched), code) << path;
  }
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
}

std::set<int> inheritedDescriptors() {
  std::set<int> found;
  DIR* folder = opendir("/proc/self/fd");
  while (const auto* entry = readdir(folder)) {
    const int descriptor = atoi(entry->d_name);
    const bool isOpen = (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0;
    if (entry->d_name[0] != '.' && isOpen) found.insert(descriptor);
  }
  closedir(folder);
  return found;
}

TEST(Subprocess, AProgramInheritsItsStreamsAndNothingElse) {
  const int held = open("/dev/null", O_RDONLY | O_CLOEXEC);
  auto expected = inheritedDescriptors();
  expected.insert({0, 1, 2});
  // The listing itself holds one more, which is the lowest that is free.
  int listing = 3;
  while (expected.contains(listing)) ++listing;
  expected.insert(listing);
  const auto outcome = runProgram("/bin/ls", {"/proc/self/fd"});
  close(held);
  std::set<int> found;
  for (const char* text = outcome.output.c_str(); *text;) {
    char* end;
    found.insert(static_cast<int>(strtol(text, &end, 10)));
    text = end + 1;
  }
  EXPECT_EQ(found, expected);
}

TEST(Subprocess, ItWorksWhenTheStandardStreamsAreClosed) {
  const auto child = fork();
  if (child == 0) {
    for (const int stream : {0, 1, 2}) close(stream);
    const auto outcome = runScript("echo out; echo err >&2; test -p /dev/stdin");
    _exit(outcome.output == "out\n" && outcome.error == "err\n" ? outcome.status : 100);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST(Subprocess, SignalsAreAsInAFreshProcess) {
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const auto handling = signal(SIGPIPE, SIG_IGN);
  const auto outcome = runProgram("/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"});
  signal(SIGPIPE, handling);
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_TRUE(sigismember(&after, SIGTERM) == 1 && sigismember(&after, SIGUSR1) == 0)
      << "the thread's own mask was not put back";
  EXPECT_EQ(outcome.output, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(Subprocess, TheDescriptorLimitIsTheOneAtStart) {
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  rlimit lower = before;
  lower.rlim_cur = 123;
  setrlimit(RLIMIT_NOFILE, &lower);
  raiseDescriptorLimit();
  rlimit raised;
  getrlimit(RLIMIT_NOFILE, &raised);
  EXPECT_EQ(raised.rlim_cur, before.rlim_max);
  EXPECT_EQ(runScript("ulimit -Sn; ulimit -Hn").output,
            "123\n" +
                (before.rlim_max == RLIM_INFINITY ? "unlimited" : std::to_string(before.rlim_max)) +
                "\n");
  setrlimit(RLIMIT_NOFILE, &before);
}

TEST(Subprocess, TheEnvironmentIsChangedForTheProgramOnly) {
  setenv("LISTEN_FDS", "1", 1);
  setenv("LISTEN_PID", "1", 1);
  setenv("LISTENER", "stays", 1);
  setenv("QRT_REMOVED", "x", 1);
  setenv("QRT_CHANGED", "old", 1);
  const auto outcome = runProgram(
      "/usr/bin/env", {}, {{"QRT_REMOVED", {}}, {"QRT_CHANGED", "new"}, {"QRT_ADDED", "a=b"}});
  std::set<std::string> lines;
  for (std::size_t start = 0; start < outcome.output.size();) {
    const auto end = outcome.output.find('\n', start);
    lines.insert(outcome.output.substr(start, end - start));
    start = end + 1;
  }
  EXPECT_TRUE(lines.contains("LISTENER=stays"));
  EXPECT_TRUE(lines.contains("QRT_CHANGED=new"));
  EXPECT_TRUE(lines.contains("QRT_ADDED=a=b"));
  for (const auto& line : lines) {
    EXPECT_FALSE(line.starts_with("LISTEN_") || line.starts_with("QRT_REMOVED")) << line;
  }
  EXPECT_STREQ(getenv("QRT_CHANGED"), "old");
}

}  // namespace
}  // namespace qrt
