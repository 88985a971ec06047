#include "platform/macos/xpc/FeedbackReceiver.h"

#include "platform/macos/xpc/XPCProtocols.h"
#include "platform/macos/xpc/XPCValue.h"

using qrt::AcceptedConnection;
using qrt::FeedbackIntake;
using qrt::Mailbox;

/// Receives the messages of one connection.
@interface QRTFeedbackConnection : NSObject <QRTPrivilegedOperationFeedbackProtocol>
- (instancetype)initWithNumber:(int)number
                        intake:(std::shared_ptr<FeedbackIntake>)intake
                       mailbox:(std::shared_ptr<Mailbox>)mailbox;
@end

@implementation QRTFeedbackConnection {
  int _number;
  std::shared_ptr<FeedbackIntake> _intake;
  std::shared_ptr<Mailbox> _mailbox;
}

- (instancetype)initWithNumber:(int)number
                        intake:(std::shared_ptr<FeedbackIntake>)intake
                       mailbox:(std::shared_ptr<Mailbox>)mailbox {
  self = [super init];
  if (self) {
    _number = number;
    _intake = std::move(intake);
    _mailbox = std::move(mailbox);
  }
  return self;
}

- (void)processPrivilegedOperationFeedback:(NSDictionary*)message {
  auto received = qrt::dictionaryFrom(message);
  if (!received) return;
  _mailbox->post([number = _number, intake = _intake, copy = std::move(*received)] {
    intake->receive(number, copy);
  });
}

@end

/// Accepts connections, one after the other, and numbers them.
@interface QRTFeedbackListener : NSObject <NSXPCListenerDelegate>
- (instancetype)initWithIntake:(std::shared_ptr<FeedbackIntake>)intake
                        daemon:(std::shared_ptr<AcceptedConnection>)daemon
                       mailbox:(std::shared_ptr<Mailbox>)mailbox;
@end

@implementation QRTFeedbackListener {
  int _lastNumber;
  std::shared_ptr<FeedbackIntake> _intake;
  std::shared_ptr<AcceptedConnection> _daemon;
  std::shared_ptr<Mailbox> _mailbox;
}

- (instancetype)initWithIntake:(std::shared_ptr<FeedbackIntake>)intake
                        daemon:(std::shared_ptr<AcceptedConnection>)daemon
                       mailbox:(std::shared_ptr<Mailbox>)mailbox {
  self = [super init];
  if (self) {
    _intake = std::move(intake);
    _daemon = std::move(daemon);
    _mailbox = std::move(mailbox);
  }
  return self;
}

- (BOOL)listener:(NSXPCListener*)listener
    shouldAcceptNewConnection:(NSXPCConnection*)newConnection {
  const int number = ++_lastNumber;
  const auto intake = _intake;
  const auto daemon = _daemon;
  const auto mailbox = _mailbox;
  newConnection.remoteObjectInterface = qrt::controlXPCInterface();
  mailbox->post([intake, daemon, number, newConnection] {
    if (!daemon->connection) daemon->connection = newConnection;
    intake->accept(number);
  });
  newConnection.exportedInterface = qrt::feedbackXPCInterface();
  newConnection.exportedObject = [[QRTFeedbackConnection alloc] initWithNumber:number
                                                                        intake:intake
                                                                       mailbox:mailbox];
  newConnection.invalidationHandler = ^{
    mailbox->post([intake, number] { intake->end(number); });
  };
  [newConnection resume];
  return YES;
}

@end

namespace qrt {

FeedbackReceiver::FeedbackReceiver(std::shared_ptr<Mailbox> mailbox, const FeedbackHandler& handler)
    : mailbox_(std::move(mailbox)),
      intake_(std::make_shared<FeedbackIntake>(handler)),
      daemon_(std::make_shared<AcceptedConnection>()),
      listener_([NSXPCListener anonymousListener]),
      delegate_([[QRTFeedbackListener alloc] initWithIntake:intake_
                                                     daemon:daemon_
                                                    mailbox:mailbox_]) {
  listener_.delegate = delegate_;
  [listener_ resume];
}

FeedbackReceiver::~FeedbackReceiver() {
  intake_->abandon();
  [listener_ invalidate];
}

bool FeedbackReceiver::stopOperation() {
  if (!daemon_->connection) return false;
  [id<QRTOperationControlProtocol>(daemon_->connection.remoteObjectProxy) stopOperation];
  return true;
}

void FeedbackReceiver::receiveRest() {
  const auto intake = intake_;
  const auto mailbox = mailbox_;
  NSXPCConnection* const own =
      [[NSXPCConnection alloc] initWithListenerEndpoint:listener_.endpoint];
  own.remoteObjectInterface = feedbackXPCInterface();
  [own resume];
  id<QRTPrivilegedOperationFeedbackProtocol> listener =
      [own remoteObjectProxyWithErrorHandler:^(NSError*) {
        mailbox->post([intake] { intake->close(); });
      }];
  [listener processPrivilegedOperationFeedback:xpcDictionary(FeedbackIntake::lastCall())];
  mailbox->performUntil([&] { return intake->isComplete(); });
  [own invalidate];
}

}  // namespace qrt
