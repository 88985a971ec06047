// When a large message is read.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>

#include "platform/FileDescriptor.h"
#include "platform/linux/wire/MessageFrame.h"

namespace qrt {

class LargeMessageTurn;

/// Shares out the memory for messages that are not decoded yet. Users are served in turn: of the
/// users that wait, the one that was served longest ago is next, and the messages of one user are
/// read in the order of their arrival. Root waits for no other user. Thread-safe.
class LargeMessageQueue {
 public:
  /// Messages up to this size need no turn.
  static constexpr std::size_t largestWithout = 64 << 10;

  /// Of one user, with the messages that have been read and wait for a dialog.
  static constexpr std::size_t maximumOfOneUser = 32 << 20;
  /// Of one user other than root, of messages that are being read.
  static constexpr std::size_t maximumReadOfOneUser = MessageFrame::maximumLength;
  /// Of all users but root, of messages that are being read.
  static constexpr std::size_t maximumRead = 64 << 20;

 private:
  friend class LargeMessageTurn;

  struct User {
    explicit User(std::uint64_t turns) : lastServed(turns) {}
    /// A number of turns, not a time; until the first turn, the number when the user arrived.
    std::uint64_t lastServed;
    std::size_t beingRead = 0;
    std::size_t all = 0;
    std::deque<LargeMessageTurn*> waiting;
  };
  using Users = std::map<std::uint32_t, User>;

  void enter(LargeMessageTurn& turn);
  void endReading(LargeMessageTurn& turn);
  void leave(LargeMessageTurn& turn);

  void stopReading(LargeMessageTurn& turn);
  void serveWaiting();
  static bool hasOwnRoom(std::uint32_t identifier, const User& user);
  Users::iterator longestUnserved();
  bool serve(Users::iterator user);

  std::mutex mutex_;
  /// Users with a message that waits or is not decoded.
  Users users_;
  std::uint64_t turns_ = 0;
  std::size_t beingRead_ = 0;
};

/// One large message, which waits, is read, and is kept until its values are decoded.
class LargeMessageTurn {
 public:
  /// Begins to wait.
  LargeMessageTurn(LargeMessageQueue& queue, std::uint32_t user, std::size_t bytes);
  /// Gives the memory back, or stops waiting.
  ~LargeMessageTurn() { queue_.leave(*this); }
  LargeMessageTurn(const LargeMessageTurn&) = delete;
  LargeMessageTurn& operator=(const LargeMessageTurn&) = delete;

  /// A descriptor that becomes readable when the message may be read; -1 when it cannot be made.
  int event() const { return event_.get(); }

  /// How long reading may take once it may begin.
  std::chrono::seconds timeToRead() const;

  /// The whole message has arrived and is well formed: the next message of this user can be read.
  /// From now on this one counts against its own user only.
  void endReading() { queue_.endReading(*this); }

 private:
  friend class LargeMessageQueue;
  enum class State { waiting, reading, kept };

  LargeMessageQueue& queue_;
  const std::uint32_t user_;
  const std::size_t bytes_;
  FileDescriptor event_;
  State state_ = State::waiting;  ///< Guarded by the queue.
};

}  // namespace qrt
