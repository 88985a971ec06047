#include "platform/macos/xpc/Mailbox.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/posix/ChildProcess.h"

namespace qrt {

Mailbox::Mailbox() {
  int ends[2];
  if (!openPipe(ends)) return;
  readingEnd_.reset(ends[0]);
  writingEnd_.reset(ends[1]);
  // A full pipe wakes its reader as well as a fuller one would.
  fcntl(writingEnd_.get(), F_SETFL, O_NONBLOCK);
}

void Mailbox::wake() {
  const int error = errno;
  const char byte = 0;
  [[maybe_unused]] const auto written = write(writingEnd_.get(), &byte, sizeof byte);
  errno = error;
}

void Mailbox::post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(task));
  }
  wake();
}

void Mailbox::interrupt() {
  isInterrupted_ = true;
  wake();
}

bool Mailbox::waitForWake(std::optional<Clock::time_point> deadline) {
  if (deadline) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(*deadline - Clock::now()).count();
    pollfd waiting{readingEnd_.get(), POLLIN, 0};
    const int ready = left > 0 ? poll(&waiting, 1, static_cast<int>(left)) : 0;
    if (ready <= 0) return ready < 0 && errno == EINTR;
  }
  char bytes[64];
  const auto count = read(readingEnd_.get(), bytes, sizeof bytes);
  return count > 0 || (count < 0 && errno == EINTR);
}

std::vector<Mailbox::Task> Mailbox::takePosted() {
  const std::lock_guard lock(mutex_);
  return std::exchange(posted_, {});
}

bool Mailbox::performUntil(const std::function<bool()>& isOver) {
  return perform(isOver, std::nullopt);
}

bool Mailbox::performUntil(const std::function<bool()>& isOver, std::chrono::milliseconds limit) {
  return perform(isOver, Clock::now() + limit);
}

bool Mailbox::perform(const std::function<bool()>& isOver,
                      std::optional<Clock::time_point> deadline) {
  while (!isOver()) {
    if (!waitForWake(deadline) || isInterrupted_.exchange(false)) return false;
    for (const auto& task : takePosted()) task();
  }
  return true;
}

}  // namespace qrt
