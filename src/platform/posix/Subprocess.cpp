#include "platform/Subprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "platform/posix/ChildProcess.h"
#include "platform/posix/DescriptorLimit.h"
#include "platform/posix/NativeError.h"

extern char** environ;

namespace qrt {
namespace {

/// How long after the end of a program, or a request to stop it, that is noticed at the latest.
constexpr std::chrono::milliseconds exitCheckInterval{100};

/// Moves a descriptor away from the numbers of the standard streams: a process that was started
/// with one of those closed gets its number for the next descriptor, and the child fills them one
/// after the other.
bool clearOfStandardStreams(FileDescriptor& end) {
  constexpr int firstOther = STDERR_FILENO + 1;
  if (end.get() < firstOther) end.reset(fcntl(end.get(), F_DUPFD_CLOEXEC, firstOther));
  return static_cast<bool>(end);
}

/// Strings in the form that system calls take: an array of pointers that ends with null.
class StringVector {
 public:
  explicit StringVector(std::vector<std::string> strings) : strings_(std::move(strings)) {
    for (auto& text : strings_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
  }
  StringVector(const StringVector&) = delete;
  StringVector& operator=(const StringVector&) = delete;

  char* const* pointers() const { return pointers_.data(); }

 private:
  std::vector<std::string> strings_;
  std::vector<char*> pointers_;
};

std::vector<std::string> argumentsFor(const ProgramLaunch& program) {
  std::vector<std::string> arguments{program.path};
  arguments.insert(arguments.end(), program.arguments.begin(), program.arguments.end());
  return arguments;
}

std::vector<std::string> environmentFor(const ProgramLaunch& program) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry; ++entry) {
    const std::string_view text(*entry);
    const std::string name(text.substr(0, text.find('=')));
    const bool isOurs = name.starts_with("LISTEN_");
    if (!isOurs && !program.environment.contains(name)) environment.emplace_back(text);
  }
  for (const auto& [name, value] : program.environment) {
    if (value) environment.push_back(name + "=" + *value);
  }
  return environment;
}

bool holdsZeroByte(const std::string& text) { return text.find('\0') != std::string::npos; }

/// No signal is handled by this thread, nor by a child that it forks, while the guard lives.
class SignalBlock {
 public:
  SignalBlock() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous_);
  }
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

 private:
  sigset_t previous_;
};

void resetSignals() {
  for (int number = 1; number < NSIG; ++number) ::signal(number, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Runs in the child after the fork, with calls only that are safe there. Writes the native error
/// to `report` when the program does not start; its start closes `report`.
[[noreturn]] void becomeProgram(const std::array<int, 3>& streams, int report,
                                char* const* arguments, char* const* environment) {
  for (int place = STDIN_FILENO; place <= STDERR_FILENO; ++place) dup2(streams[place], place);
  restoreDescriptorLimit();
  resetSignals();
  const int error = replaceImage(arguments[0], arguments, environment);
  [[maybe_unused]] const auto sent = write(report, &error, sizeof error);
  constexpr int notStarted = 127;
  _exit(notStarted);
}

/// Waits for the child. Returns 0 when it still runs and `options` say not to wait.
pid_t waitFor(pid_t child, int* status, int options) {
  for (;;) {
    const auto result = waitpid(child, status, options);
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace

Subprocess::Subprocess() = default;

Subprocess::~Subprocess() {
  if (child_ == 0) return;
  for (auto* pipe : {&input_, &output_, &error_}) *pipe = Pipe();
  int status;
  waitFor(child_, &status, 0);
}

PosixResult<std::unique_ptr<Subprocess>> Subprocess::prepare() {
  std::unique_ptr<Subprocess> subprocess(new Subprocess);
  for (auto* pipe :
       {&subprocess->input_, &subprocess->output_, &subprocess->error_, &subprocess->report_}) {
    if (!open(*pipe)) return lastError();
  }
  return subprocess;
}

bool Subprocess::open(Pipe& pipe) {
  int ends[2];
  if (!openPipe(ends)) return false;
  pipe.readingEnd.reset(ends[0]);
  pipe.writingEnd.reset(ends[1]);
  return clearOfStandardStreams(pipe.readingEnd) && clearOfStandardStreams(pipe.writingEnd);
}

PosixCode Subprocess::launch(const ProgramLaunch& program) {
  auto texts = argumentsFor(program);
  if (std::any_of(texts.begin(), texts.end(), holdsZeroByte)) return PosixCode::invalidArgument;
  activity_ = beginProgramActivity();
  const StringVector arguments(std::move(texts));
  const StringVector environment(environmentFor(program));
  const std::array<int, 3> streams{input_.readingEnd.get(), output_.writingEnd.get(),
                                   error_.writingEnd.get()};
  {
    const SignalBlock untilProgramHasTakenOver;
    child_ = fork();
    if (child_ == 0) {
      becomeProgram(streams, report_.writingEnd.get(), arguments.pointers(),
                    environment.pointers());
    }
  }
  if (child_ < 0) {
    child_ = 0;
    return lastError();
  }
  input_.readingEnd.reset();
  output_.writingEnd.reset();
  error_.writingEnd.reset();
  report_.writingEnd.reset();

  int error = 0;
  ssize_t count;
  do {
    count = read(report_.readingEnd.get(), &error, sizeof error);
  } while (count < 0 && errno == EINTR);
  report_.readingEnd.reset();
  if (count == sizeof error) return contractCode(error);
  piece_.resize(maximumPiece);
  return PosixCode::success;
}

std::int32_t Subprocess::waitUntilExit(const Sink& sink, const StopRequest& stop) {
  // Most programs end right after they closed their streams.
  std::chrono::milliseconds patience{1};
  for (;;) {
    if (stop.isSet()) stopChild();
    int status = 0;
    const auto result = waitFor(child_, &status, WNOHANG);
    if (result != 0) {
      child_ = 0;
      activity_.reset();
      if (result < 0) return -1;
      wasKilled_ = WIFSIGNALED(status);
      return wasKilled_ ? WTERMSIG(status) : WEXITSTATUS(status);
    }
    passOn(sink, bothEnded() ? patience : exitCheckInterval);
    if (bothEnded()) patience = std::min(2 * patience, exitCheckInterval);
  }
}

/// To be called again and again until the child has ended.
void Subprocess::stopChild() {
  if (!stoppedAt_) {
    stoppedAt_ = Clock::now();
    ::kill(child_, SIGTERM);
  } else if (isPatienceOver()) {
    ::kill(child_, SIGKILL);
  }
}

void Subprocess::drain(const Sink& sink) {
  while (!bothEnded() && !isPatienceOver() && passOn(sink, drainPatience)) continue;
}

/// Passes on a piece of each stream that has one. False when neither had for as long as `patience`.
bool Subprocess::passOn(const Sink& sink, std::chrono::milliseconds patience) {
  // A negative descriptor is not polled.
  std::array<pollfd, 2> streams{pollfd{hasEnded_[0] ? -1 : outputHandle(), POLLIN, 0},
                                pollfd{hasEnded_[1] ? -1 : errorHandle(), POLLIN, 0}};
  const int ready = poll(streams.data(), streams.size(), static_cast<int>(patience.count()));
  if (ready < 0) return errno == EINTR;
  if (ready == 0) return false;
  for (std::size_t i = 0; i < streams.size(); ++i) {
    if (streams[i].revents == 0) continue;
    const auto count = read(streams[i].fd, piece_.data(), piece_.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      hasEnded_[i] = true;
      continue;
    }
    sink(static_cast<StandardStream>(i), {piece_.data(), static_cast<std::size_t>(count)});
  }
  return true;
}

}  // namespace qrt
