#include "platform/linux/authority/DialogQueue.h"

#include <sys/eventfd.h>

#include <algorithm>

namespace qrt {

Result<std::unique_ptr<DialogQueue::Turn>, AuthorizationStatus> DialogQueue::wait(
    const Asker& asker) {
  FileDescriptor signal(eventfd(0, EFD_CLOEXEC));
  if (!signal) return AuthorizationStatus::internal;
  const int awaited = signal.get();
  std::unique_ptr<Turn> turn(new Turn(*this, asker.process, std::move(signal)));
  {
    const std::lock_guard guard(mutex_);
    turns_.push_back(turn.get());
    callNext();
  }
  while (!hasCome(*turn)) {
    if (!waitForAsker(asker, {awaited, POLLIN, 0})) return AuthorizationStatus::canceled;
  }
  return turn;
}

bool DialogQueue::hasCome(const Turn& turn) {
  const std::lock_guard guard(mutex_);
  return turn.hasCome_;
}

void DialogQueue::leave(Turn& turn) {
  const std::lock_guard guard(mutex_);
  turns_.remove(&turn);
  callNext();
}

void DialogQueue::callNext() {
  for (auto* turn : turns_) {
    if (turn->hasCome_ || !mayCome(*turn)) continue;
    turn->hasCome_ = true;
    eventfd_write(turn->signal_.get(), 1);
  }
}

bool DialogQueue::mayCome(const Turn& turn) const {
  std::size_t ofProcess = 0, ofUser = 0;
  for (const auto* other : turns_) {
    if (!other->hasCome_) continue;
    ofProcess += other->process_ == turn.process_ ? 1 : 0;
    ofUser += other->process_.userID == turn.process_.userID ? 1 : 0;
  }
  return ofProcess < maximumOfOneProcess && ofUser < maximumOfOneUser;
}

}  // namespace qrt
