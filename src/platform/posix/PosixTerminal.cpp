#include "platform/posix/PosixTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>

#include "platform/NativePlatform.h"

namespace qrt {
namespace {

int descriptorOf(StandardStream stream) {
  return stream == StandardStream::output ? STDOUT_FILENO : STDERR_FILENO;
}

/// A stream that is shared with others may have been made non-blocking by them.
bool waitUntilWritable(int descriptor) {
  pollfd entry{descriptor, POLLOUT, 0};
  return ::poll(&entry, 1, -1) > 0 || errno == EINTR;
}

}  // namespace

PosixTerminal::PosixTerminal() { ::signal(SIGPIPE, SIG_IGN); }

bool PosixTerminal::isTerminal(StandardStream stream) const {
  return ::isatty(descriptorOf(stream)) == 1;
}

std::size_t PosixTerminal::columns() const {
  constexpr std::size_t usual = 80;
  for (const auto stream : {StandardStream::error, StandardStream::output}) {
    winsize size{};
    if (::ioctl(descriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
      return size.ws_col;
    }
  }
  return usual;
}

bool PosixTerminal::write(StandardStream stream, std::string_view bytes) {
  const int descriptor = descriptorOf(stream);
  while (!bytes.empty()) {
    const auto written = ::write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno == EAGAIN && waitUntilWritable(descriptor)) continue;
    return false;
  }
  return true;
}

bool PosixTerminal::canAsk() const {
  return ::isatty(STDIN_FILENO) == 1 && isTerminal(StandardStream::error);
}

std::optional<std::string> PosixTerminal::readLine() {
  std::string line;
  if (!std::getline(std::cin, line)) return std::nullopt;
  return line;
}

std::unique_ptr<Terminal> makeNativeTerminal() { return std::make_unique<PosixTerminal>(); }

}  // namespace qrt
