// The requestor's end of an operation's feedback.
#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "platform/macos/xpc/FeedbackIntake.h"
#include "platform/macos/xpc/Mailbox.h"

namespace qrt {

/// The first connection that was accepted; nil before that.
struct AcceptedConnection {
  NSXPCConnection* connection = nil;
};

/// Offers an endpoint and passes every message that arrives there to the handler, on the thread
/// that waits at the mailbox. Used by that thread only.
class FeedbackReceiver {
 public:
  /// The handler outlives the receiver; messages that arrive later are dropped.
  FeedbackReceiver(std::shared_ptr<Mailbox> mailbox, const FeedbackHandler& handler);
  FeedbackReceiver(const FeedbackReceiver&) = delete;
  FeedbackReceiver& operator=(const FeedbackReceiver&) = delete;
  ~FeedbackReceiver();

  NSXPCListenerEndpoint* endpoint() const { return listener_.endpoint; }

  /// Asks the daemon to stop the operation. False before the daemon has connected.
  bool stopOperation();

  /// After the reply: returns when the handler has received everything that the daemon sent before
  /// it, or when the mailbox is interrupted.
  void receiveRest();

 private:
  const std::shared_ptr<Mailbox> mailbox_;
  const std::shared_ptr<FeedbackIntake> intake_;
  /// Tasks of the mailbox set it.
  const std::shared_ptr<AcceptedConnection> daemon_;
  NSXPCListener* const listener_;
  /// The listener does not keep it.
  const id<NSXPCListenerDelegate> delegate_;
};

}  // namespace qrt
