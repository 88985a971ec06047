// The messages that a client receives while its operation runs, and their end.
#pragma once

#include <set>

#include "platform/HelperConnection.h"

namespace qrt {

/// Connections are numbered by their receiver. For one thread.
class FeedbackIntake {
 public:
  /// The handler outlives the intake, or `abandon` is called before it is destroyed.
  explicit FeedbackIntake(const FeedbackHandler& handler) : handler_(&handler) {}

  void accept(int connection) { open_.insert(connection); }
  void receive(int connection, const Dictionary& message);
  void end(int connection) { open_.erase(connection); }

  /// The client sends this message to itself after the reply. A listener accepts connections in the
  /// order in which they were made: when the message arrives, it has accepted the daemon's.
  static Dictionary lastCall();
  /// Also called when the last call cannot be made: nothing more will be accepted.
  void close() { isClosed_ = true; }

  /// From now on, messages are dropped.
  void abandon() { handler_ = nullptr; }

  /// False while the daemon's connection may still be accepted or send messages.
  bool isComplete() const { return isClosed_ && open_.empty(); }

 private:
  const FeedbackHandler* handler_;
  std::set<int> open_;
  bool isClosed_ = false;
};

}  // namespace qrt
