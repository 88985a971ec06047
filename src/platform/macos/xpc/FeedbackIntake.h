// What a client receives while its operation runs, and when that is all.
#pragma once

#include <set>

#include "platform/HelperConnection.h"

namespace qrt {

/// Connections are numbered by their receiver. For one thread.
class FeedbackIntake {
 public:
  /// The handler outlives the intake, or `abandon` is called before it goes.
  explicit FeedbackIntake(const FeedbackHandler& handler) : handler_(&handler) {}

  void accept(int connection) { open_.insert(connection); }
  void receive(int connection, const Dictionary& message);
  void end(int connection) { open_.erase(connection); }

  /// What the client sends to itself after the reply. A listener accepts connections in the order
  /// in which they were made: when this message arrives, it has accepted the daemon's.
  static Dictionary lastCall();
  /// Also when the last call cannot be made: nothing more will be accepted.
  void close() { isClosed_ = true; }

  /// Messages are dropped from here on.
  void abandon() { handler_ = nullptr; }

  /// False while the daemon's connection may not have been accepted yet or may bring more.
  bool isComplete() const { return isClosed_ && open_.empty(); }

 private:
  const FeedbackHandler* handler_;
  std::set<int> open_;
  bool isClosed_ = false;
};

}  // namespace qrt
