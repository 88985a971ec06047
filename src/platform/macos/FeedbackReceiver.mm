#include "platform/macos/FeedbackReceiver.h"

#include "platform/macos/XPCProtocols.h"
#include "platform/macos/XPCValue.h"
#include "protocol/Names.h"

namespace qrt {

/// Looked at on the waiting thread only.
struct FeedbackReceiver::State {
  /// Null when the receiver has gone.
  const FeedbackHandler* handler;
  bool isConnected = false;
  bool hasEnded = false;

  void receive(const Dictionary& message) {
    if (handler) (*handler)(message);
    if (message.find(finalFeedbackMessageKey) != message.end()) hasEnded = true;
  }
};

}  // namespace qrt

using qrt::Mailbox;
using State = qrt::FeedbackReceiver::State;

/// Accepts the daemon's connection and is what its messages arrive at.
@interface QRTFeedbackReceiver
    : NSObject <NSXPCListenerDelegate, QRTPrivilegedOperationFeedbackProtocol>
- (instancetype)initWithState:(std::shared_ptr<State>)state
                      mailbox:(std::shared_ptr<Mailbox>)mailbox;
@end

@implementation QRTFeedbackReceiver {
  std::shared_ptr<State> _state;
  std::shared_ptr<Mailbox> _mailbox;
}

- (instancetype)initWithState:(std::shared_ptr<State>)state
                      mailbox:(std::shared_ptr<Mailbox>)mailbox {
  self = [super init];
  if (self) {
    _state = std::move(state);
    _mailbox = std::move(mailbox);
  }
  return self;
}

- (BOOL)listener:(NSXPCListener*)listener
    shouldAcceptNewConnection:(NSXPCConnection*)newConnection {
  const auto state = _state;
  const auto mailbox = _mailbox;
  mailbox->post([state] { state->isConnected = true; });
  newConnection.exportedInterface = qrt::feedbackXPCInterface();
  newConnection.exportedObject = self;
  newConnection.invalidationHandler = ^{
    mailbox->post([state] { state->hasEnded = true; });
  };
  [newConnection resume];
  return YES;
}

- (void)processPrivilegedOperationFeedback:(NSDictionary*)message {
  auto received = qrt::dictionaryFrom(message);
  if (!received) return;
  const auto state = _state;
  _mailbox->post([state, copy = std::move(*received)] { state->receive(copy); });
}

@end

namespace qrt {

FeedbackReceiver::FeedbackReceiver(std::shared_ptr<Mailbox> mailbox, const FeedbackHandler& handler)
    : state_(std::make_shared<State>(State{&handler})),
      listener_([NSXPCListener anonymousListener]),
      delegate_([[QRTFeedbackReceiver alloc] initWithState:state_ mailbox:std::move(mailbox)]) {
  listener_.delegate = delegate_;
  [listener_ resume];
}

FeedbackReceiver::~FeedbackReceiver() {
  state_->handler = nullptr;
  [listener_ invalidate];
}

bool FeedbackReceiver::hasEnded() const { return !state_->isConnected || state_->hasEnded; }

}  // namespace qrt
