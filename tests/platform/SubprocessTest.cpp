#include "platform/Subprocess.h"

#include <signal.h>
#include <sys/resource.h>

#include <algorithm>

#include "platform/FileDescriptor.h"
#include "platform/posix/DescriptorLimit.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using namespace std::chrono_literals;

struct Finished {
  std::int32_t status = -1;
  std::string output, error;
  bool wasKilled = false;
};

Finished runProgram(const std::string& path, const std::vector<std::string>& arguments,
                    const EnvironmentChanges& environment = {}, bool isStopped = false) {
  StopRequest stop;
  Finished finished;
  const auto subprocess = std::move(*Subprocess::prepare());
  EXPECT_EQ(subprocess->launch({path, arguments, environment}), PosixCode::success);
  const auto receive = [&](StandardStream stream, std::span<const std::uint8_t> piece) {
    auto& text = stream == StandardStream::output ? finished.output : finished.error;
    text.append(piece.begin(), piece.end());
    if (isStopped) stop.set();
  };
  finished.status = subprocess->waitUntilExit(receive, stop);
  finished.wasKilled = subprocess->wasKilled();
  subprocess->drain(receive);
  return finished;
}

Finished runScript(const std::string& script) { return runProgram("/bin/sh", {"-c", script}); }

TEST(Subprocess, AProcessThatKeepsTheStreamsOpenDelaysTheEndByTwoSeconds) {
  const auto start = std::chrono::steady_clock::now();
  const auto finished = runScript("(sleep 0.2; echo late) & sleep 60 & echo $!; exit 6");
  const auto time = std::chrono::steady_clock::now() - start;
  EXPECT_GE(time, Subprocess::drainPatience);
  EXPECT_LT(time, Subprocess::drainPatience + 1s);
  kill(std::stoi(finished.output), SIGKILL);
  EXPECT_TRUE(finished.output.ends_with("\nlate\n"));
  EXPECT_EQ(finished.status, 6);
  EXPECT_FALSE(finished.wasKilled);
}

TEST(Subprocess, AStoppedProgramHasFiveSecondsToEnd) {
  const std::tuple<std::string, int, std::chrono::seconds> cases[] = {
      {"echo; exec sleep 60", SIGTERM, 0s},
      {"echo; exec sleep 60 >&- 2>&-", SIGTERM, 0s},
      {"trap '' TERM; while :; do echo; done", SIGKILL, 5s}};
  for (const auto& [script, status, time] : cases) {
    const auto start = std::chrono::steady_clock::now();
    const auto finished = runProgram("/bin/sh", {"-c", script}, {}, true);
    EXPECT_EQ(finished.status, status);
    EXPECT_TRUE(finished.wasKilled);
    EXPECT_GE(std::chrono::steady_clock::now() - start, time);
    EXPECT_LT(std::chrono::steady_clock::now() - start, time + 2s) << script;
  }
}

TEST(Subprocess, AFailedLaunchReportsItsReasonAndNoProgramRemains) {
  const test::ScratchFolder folder;
  folder.make("touch data; touch tool; printf '#!/absent\n' > script; chmod +x tool script");
  const std::pair<std::string, std::int32_t> cases[] = {
      {"/absent", 2},           {folder.path(), 13},        {folder.path("data"), 13},
      {folder.path("tool"), 8}, {folder.path("script"), 2}, {std::string("/bin/sh\0", 8), 22},
  };
  for (const auto& [path, code] : cases) {
    EXPECT_EQ(number((*Subprocess::prepare())->launch({path, {}, {}})), code) << path;
  }
  // It ends at once when its reader is gone.
  const ProgramLaunch endless{"/bin/sh", {"-c", "while :; do echo x; done"}, {}};
  EXPECT_EQ((*Subprocess::prepare())->launch(endless), PosixCode::success);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
}

TEST(Subprocess, AProgramInheritsItsStreamsAndNothingElse) {
  const FileDescriptor inherited(open("/dev/null", O_RDONLY));
  // The listing itself holds one more.
  EXPECT_EQ(runProgram("/bin/ls", {"/dev/fd"}).output, "0\n1\n2\n3\n");
}

TEST(Subprocess, WorksWhenTheStandardStreamsAreClosed) {
  const auto child = fork();
  if (child == 0) {
    for (const int stream : {0, 1, 2}) close(stream);
    const auto finished = runScript("echo out; echo err >&2; test -p /dev/stdin");
    _exit(finished.output == "out\n" && finished.error == "err\n" ? finished.status : 100);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST(Subprocess, SignalsAreAsInAFreshProcess) {
  sigset_t blocked{}, before, after;
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const auto handling = signal(SIGPIPE, SIG_IGN);
  // A signal that is blocked or ignored would not end the script.
  const auto blockedOne = runScript("kill -TERM $$; echo alive");
  const auto ignoredOne = runScript("kill -PIPE $$; echo alive");
  signal(SIGPIPE, handling);
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_TRUE(sigismember(&after, SIGTERM) == 1 && sigismember(&after, SIGUSR1) == 0);
  EXPECT_EQ(blockedOne.output + ignoredOne.output, "");
}

TEST(Subprocess, TheDescriptorLimitIsTheOneAtStart) {
  rlimit before, raised;
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit lower{123, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &lower);
  raiseDescriptorLimit();
  getrlimit(RLIMIT_NOFILE, &raised);
  EXPECT_EQ(raised.rlim_cur, std::min(before.rlim_max, test::mostDescriptors));
  EXPECT_EQ(runScript("ulimit -Sn; ulimit -Hn").output, "123\n" + test::printed("ulimit -Hn"));
  setrlimit(RLIMIT_NOFILE, &before);
}

TEST(Subprocess, TheEnvironmentIsChangedForTheProgramOnly) {
  for (const auto* name : {"LISTEN_FDS", "LISTEN_PID", "LISTENER", "QRT_REMOVED", "QRT_CHANGED"}) {
    setenv(name, "old", 1);
  }
  const auto finished =
      runProgram("/bin/sh", {"-c", "env | grep -E '^(LISTEN|QRT)' | sort"},
                 {{"QRT_REMOVED", {}}, {"QRT_CHANGED", "new"}, {"QRT_ADDED", "a=b"}});
  EXPECT_EQ(finished.output, "LISTENER=old\nQRT_ADDED=a=b\nQRT_CHANGED=new\n");
  EXPECT_STREQ(getenv("QRT_CHANGED"), "old");
}

}  // namespace
}  // namespace qrt
