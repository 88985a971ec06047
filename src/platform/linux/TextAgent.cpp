#include "platform/posix/TextAgent.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "platform/FileDescriptor.h"
#include "platform/posix/ChildProcess.h"

extern char** environ;

namespace qrt {
namespace {

constexpr const char* program = "/usr/bin/pkttyagent";

/// The agent closes it as soon as polkit knows the agent.
constexpr int readiness = STDERR_FILENO + 1;
constexpr int millisecondsUntilReady = 10'000;

constexpr std::chrono::milliseconds patienceWithAgent{1'000};
constexpr std::chrono::milliseconds pause{5};

/// The terminal of this process and the settings that it had.
class ControllingTerminal {
 public:
  ControllingTerminal() : file_(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    isKnown_ = file_ && tcgetattr(file_.get(), &found_) == 0;
  }

  /// The system stops a background process that reads from the terminal.
  bool isForeground() const { return isKnown_ && tcgetpgrp(file_.get()) == getpgrp(); }

  int descriptor() const { return file_.get(); }

  /// Discards the part of a password that was typed, so that the shell does not show or run it.
  void restore() const {
    termios now{};
    if (!isForeground() || tcgetattr(file_.get(), &now) != 0) return;
    const bool isPasswordHalfTyped = now.c_lflag != found_.c_lflag;
    tcsetattr(file_.get(), isPasswordHalfTyped ? TCSAFLUSH : TCSADRAIN, &found_);
  }

 private:
  FileDescriptor file_;
  termios found_{};
  bool isKnown_ = false;
};

/// The descriptor of the terminal where an agent asks; -1 without an agent.
std::atomic<int> askingTerminal = -1;
static_assert(std::atomic<int>::is_always_lock_free);

/// Handles SIGCONT. While the client and its agent are stopped, the shell turns the echo on, and
/// the agent reads on without noticing.
void hideTyping(int) {
  const int errorOfTheInterrupted = errno;
  const int terminal = askingTerminal;
  termios now{};
  // The system stops a background process that changes the terminal.
  if (terminal >= 0 && tcgetpgrp(terminal) == getpgrp() && tcgetattr(terminal, &now) == 0) {
    now.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
    tcsetattr(terminal, TCSANOW, &now);
  }
  errno = errorOfTheInterrupted;
}

/// While it lives, what is typed stays hidden after a stop.
class HiddenTyping {
 public:
  explicit HiddenTyping(int terminal) {
    askingTerminal = terminal;
    struct sigaction handling {};
    handling.sa_handler = hideTyping;
    handling.sa_flags = SA_RESTART;
    sigaction(SIGCONT, &handling, &previous_);
  }
  ~HiddenTyping() {
    sigaction(SIGCONT, &previous_, nullptr);
    askingTerminal = -1;
  }
  HiddenTyping(const HiddenTyping&) = delete;
  HiddenTyping& operator=(const HiddenTyping&) = delete;

 private:
  struct sigaction previous_ {};
};

/// In the forked child. Only calls that are safe there.
[[noreturn]] void becomeAgent(int writingEnd, char* const arguments[]) {
  // The agent must not outlive a client that was killed.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE}) ::signal(number, SIG_DFL);
  if (dup2(writingEnd, readiness) == readiness) {
    fcntl(readiness, F_SETFD, 0);
    // The agent shows its dialog on the terminal. Its other output is dropped.
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
    close_range(readiness + 1, ~0u, CLOSE_RANGE_CLOEXEC);
    execve(program, arguments, environ);
  }
  _exit(127);
}

class PolkitTextAgent : public CallerProcess::TextAgent {
 public:
  ~PolkitTextAgent() override {
    if (process_ > 0) end();
    hiddenTyping_.reset();
    terminal_.restore();
  }

  bool start() {
    int ends[2];
    if (!terminal_.isForeground() || access(program, X_OK) != 0 || !openPipe(ends)) return false;
    const FileDescriptor readingEnd(ends[0]);
    FileDescriptor writingEnd(ends[1]);
    hiddenTyping_.emplace(terminal_.descriptor());
    std::string asker = std::to_string(getpid());
    std::string notification = std::to_string(readiness);
    std::string words[] = {program, "--process", asker, "--notify-fd", notification};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(),
                         words[3].data(), words[4].data(), nullptr};
    process_ = fork();
    if (process_ == 0) becomeAgent(writingEnd.get(), arguments);
    writingEnd.reset();
    pollfd ready{readingEnd.get(), POLLIN, 0};
    return process_ > 0 && poll(&ready, 1, millisecondsUntilReady) == 1 && !hasEnded();
  }

  void dismiss() override {
    if (process_ > 0) kill(process_, SIGTERM);
  }

 private:
  bool hasEnded() {
    if (waitpid(process_, nullptr, WNOHANG) == 0) return false;
    process_ = -1;
    return true;
  }

  void end() {
    kill(process_, SIGTERM);
    for (auto left = patienceWithAgent; left.count() > 0; left -= pause) {
      if (hasEnded()) return;
      std::this_thread::sleep_for(pause);
    }
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }

  ControllingTerminal terminal_;
  std::optional<HiddenTyping> hiddenTyping_;
  pid_t process_ = -1;
};

}  // namespace

std::unique_ptr<CallerProcess::TextAgent> makeTextAgent() {
  auto agent = std::make_unique<PolkitTextAgent>();
  if (!agent->start()) return nullptr;
  return agent;
}

}  // namespace qrt
