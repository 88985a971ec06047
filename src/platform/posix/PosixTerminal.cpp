#include "platform/Terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <iostream>
#include <iterator>

#include "platform/FileDescriptor.h"
#include "platform/NativePlatform.h"
#include "platform/posix/ChildProcess.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

int descriptorOf(StandardStream stream) {
  return stream == StandardStream::output ? STDOUT_FILENO : STDERR_FILENO;
}

bool isFile(int descriptor) {
  struct stat status;
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Standard streams as file descriptors.
class PosixTerminal : public Terminal {
 public:
  /// From now on, `write` fails when the reader has closed the stream, instead of ending the
  /// process. A stream that was closed at the start fails too, instead of being the next opened
  /// file.
  PosixTerminal() {
    ::signal(SIGPIPE, SIG_IGN);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      // Opened in the wrong direction, so that each use of it fails.
      if (::fcntl(stream, F_GETFD) < 0) {
        ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
      }
    }
    int ends[2];
    if (!openPipe(ends)) return;  // `stopWaiting` then has no effect.
    isImpatient_.reset(ends[0]);
    makeImpatient_.reset(ends[1]);
  }

  bool isTerminal(StandardStream stream) const override {
    return ::isatty(descriptorOf(stream)) == 1;
  }

  std::size_t columns() const override {
    constexpr std::size_t usual = 80;
    for (const auto stream : {StandardStream::error, StandardStream::output}) {
      winsize size{};
      if (::ioctl(descriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
      }
    }
    return usual;
  }

  bool write(StandardStream stream, std::string_view bytes) override {
    if (writeAll(descriptorOf(stream), bytes)) return true;
    if (stream == StandardStream::output) outputFailure_ = lastError();
    return false;
  }

  PosixCode outputFailure() const override { return outputFailure_; }

  void stopWaiting() override { (void)!::write(makeImpatient_.get(), "", 1); }

  bool isInputTyped() const override { return ::isatty(STDIN_FILENO) == 1; }

  std::optional<std::string> readLine() override {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
  }

  bool canAsk() const override { return static_cast<bool>(controllingTerminal()); }

  std::optional<std::string> ask(std::string_view question) override {
    const auto terminal = controllingTerminal();
    if (!terminal || !writeAll(terminal.get(), question)) return std::nullopt;
    std::string line;
    for (char typed = 0;; line.push_back(typed)) {
      ssize_t count;
      do {
        count = ::read(terminal.get(), &typed, 1);
      } while (count < 0 && errno == EINTR);
      if (count <= 0) return std::nullopt;
      if (typed == '\n') return line;
    }
  }

 private:
  static FileDescriptor controllingTerminal() {
    return FileDescriptor(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
  }

  bool writeAll(int descriptor, std::string_view bytes) const {
    // A pipe that is writable takes this much without blocking. A file never blocks.
    const auto most = isFile(descriptor) ? bytes.size() : std::size_t{PIPE_BUF};
    while (!bytes.empty()) {
      if (!waitUntilWritable(descriptor)) return false;
      const auto written = ::write(descriptor, bytes.data(), std::min(bytes.size(), most));
      if (written >= 0) {
        bytes.remove_prefix(static_cast<std::size_t>(written));
      } else if (errno != EINTR && errno != EAGAIN) {
        return false;
      }
    }
    return true;
  }

  bool waitUntilWritable(int descriptor) const {
    pollfd entries[] = {{descriptor, POLLOUT, 0}, {isImpatient_.get(), POLLIN, 0}};
    while (::poll(entries, std::size(entries), -1) < 0) {
      if (errno != EINTR) return false;
    }
    return entries[0].revents != 0;
  }

  std::atomic<PosixCode> outputFailure_ = PosixCode::success;
  /// A pipe; a byte in it means that `write` no longer waits.
  FileDescriptor isImpatient_;
  FileDescriptor makeImpatient_;
};

}  // namespace

std::unique_ptr<Terminal> makeNativeTerminal() { return std::make_unique<PosixTerminal>(); }

}  // namespace qrt
