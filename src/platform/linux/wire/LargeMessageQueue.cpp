#include "platform/linux/wire/LargeMessageQueue.h"

#include <sys/eventfd.h>

#include <algorithm>

namespace qrt {
namespace {

constexpr std::uint32_t root = 0;

}  // namespace

void LargeMessageQueue::enter(LargeMessageTurn& turn) {
  const std::lock_guard lock(mutex_);
  auto& user = users_.try_emplace(turn.user_, turns_).first->second;
  user.waiting.push_back(&turn);
  serveWaiting();
}

void LargeMessageQueue::endReading(LargeMessageTurn& turn) {
  const std::lock_guard lock(mutex_);
  stopReading(turn);
  serveWaiting();
}

void LargeMessageQueue::leave(LargeMessageTurn& turn) {
  const std::lock_guard lock(mutex_);
  const auto found = users_.find(turn.user_);
  auto& user = found->second;
  if (turn.state_ == LargeMessageTurn::State::waiting) {
    user.waiting.erase(std::find(user.waiting.begin(), user.waiting.end(), &turn));
  } else {
    stopReading(turn);
    user.all -= turn.bytes_;
  }
  if (user.all == 0 && user.waiting.empty()) users_.erase(found);
  serveWaiting();
}

void LargeMessageQueue::stopReading(LargeMessageTurn& turn) {
  if (turn.state_ != LargeMessageTurn::State::reading) return;
  turn.state_ = LargeMessageTurn::State::kept;
  users_.find(turn.user_)->second.beingRead -= turn.bytes_;
  if (turn.user_ != root) beingRead_ -= turn.bytes_;
}

void LargeMessageQueue::serveWaiting() {
  if (const auto first = users_.find(root); first != users_.end()) {
    while (serve(first)) continue;
  }
  // No message overtakes the next one, so that a large message gets its room.
  auto next = longestUnserved();
  while (next != users_.end() && serve(next)) next = longestUnserved();
}

/// Whether a message of the user waits for nothing but the room that all share.
bool LargeMessageQueue::hasOwnRoom(std::uint32_t identifier, const User& user) {
  if (user.waiting.empty()) return false;
  const auto bytes = user.waiting.front()->bytes_;
  const bool mayRead = identifier == root || user.beingRead + bytes <= maximumReadOfOneUser;
  return mayRead && user.all + bytes <= maximumOfOneUser;
}

LargeMessageQueue::Users::iterator LargeMessageQueue::longestUnserved() {
  auto chosen = users_.end();
  for (auto user = users_.upper_bound(root); user != users_.end(); ++user) {
    if (!hasOwnRoom(user->first, user->second)) continue;
    const bool isLonger =
        chosen == users_.end() || user->second.lastServed < chosen->second.lastServed;
    if (isLonger) chosen = user;
  }
  return chosen;
}

/// Gives the first message of a user its turn. False when no message waits or there is no room.
bool LargeMessageQueue::serve(Users::iterator chosen) {
  auto& [identifier, user] = *chosen;
  if (!hasOwnRoom(identifier, user)) return false;
  auto& turn = *user.waiting.front();
  if (identifier != root) {
    if (beingRead_ + turn.bytes_ > maximumRead) return false;
    beingRead_ += turn.bytes_;
  }
  user.waiting.pop_front();
  user.lastServed = ++turns_;
  user.beingRead += turn.bytes_;
  user.all += turn.bytes_;
  turn.state_ = LargeMessageTurn::State::reading;
  eventfd_write(turn.event(), 1);
  return true;
}

LargeMessageTurn::LargeMessageTurn(LargeMessageQueue& queue, std::uint32_t user, std::size_t bytes)
    : queue_(queue), user_(user), bytes_(bytes), event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  queue_.enter(*this);
}

std::chrono::seconds LargeMessageTurn::timeToRead() const {
  constexpr std::chrono::seconds atLeast{10};
  constexpr std::size_t bytesOfASecond = 1 << 20;
  return atLeast + std::chrono::seconds((bytes_ + bytesOfASecond - 1) / bytesOfASecond);
}

}  // namespace qrt
