// The requestor's end of an operation's feedback.
#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "platform/HelperConnection.h"
#include "platform/macos/Mailbox.h"

namespace qrt {

/// Offers an endpoint, and hands every message that comes there to the handler, on the thread that
/// waits at the mailbox. Used by that thread only.
class FeedbackReceiver {
 public:
  /// The handler outlives the receiver; messages that come later go nowhere.
  FeedbackReceiver(std::shared_ptr<Mailbox> mailbox, const FeedbackHandler& handler);
  FeedbackReceiver(const FeedbackReceiver&) = delete;
  FeedbackReceiver& operator=(const FeedbackReceiver&) = delete;
  ~FeedbackReceiver();

  NSXPCListenerEndpoint* endpoint() const { return listener_.endpoint; }

  /// False while a daemon that has connected may still send.
  bool hasEnded() const;

  struct State;

 private:
  const std::shared_ptr<State> state_;
  NSXPCListener* const listener_;
  /// The listener does not keep it.
  const id<NSXPCListenerDelegate> delegate_;
};

}  // namespace qrt
