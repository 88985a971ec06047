#include "platform/macos/xpc/MacosFeedbackConnection.h"

#include "platform/macos/CFValue.h"
#include "platform/macos/xpc/XPCProtocols.h"
#include "platform/macos/xpc/XPCValue.h"
#include "protocol/FeedbackMessage.h"

/// Sets the request of one operation.
@interface QRTOperationControl : NSObject <QRTOperationControlProtocol>
- (instancetype)initWithStopRequest:(std::shared_ptr<qrt::StopRequest>)stopRequest;
@end

@implementation QRTOperationControl {
  std::shared_ptr<qrt::StopRequest> _stopRequest;
}

- (instancetype)initWithStopRequest:(std::shared_ptr<qrt::StopRequest>)stopRequest {
  self = [super init];
  if (self) _stopRequest = std::move(stopRequest);
  return self;
}

- (void)stopOperation {
  _stopRequest->set();
}

@end

namespace qrt {
namespace {

/// Written on the connection's queue, at any time.
struct FirstFailure {
  std::mutex mutex;
  Outcome outcome;
};

}  // namespace

MacosFeedbackConnection::MacosFeedbackConnection(NSXPCListenerEndpoint* endpoint,
                                                 const RemoteInterface& interface)
    : connection_([[NSXPCConnection alloc] initWithListenerEndpoint:endpoint]) {
  connection_.remoteObjectInterface = xpcInterface(interface);
  connection_.exportedInterface = controlXPCInterface();
  connection_.exportedObject = [[QRTOperationControl alloc] initWithStopRequest:stopRequest_];
  [connection_ resume];
}

MacosFeedbackConnection::~MacosFeedbackConnection() { suspend(); }

Outcome MacosFeedbackConnection::open(Dictionary firstMessage) {
  const auto failure = std::make_shared<FirstFailure>();
  id<QRTPrivilegedOperationFeedbackProtocol> requestor =
      [connection_ remoteObjectProxyWithErrorHandler:^(NSError* error) {
        auto outcome = outcomeFrom(error);
        // System errors compose their descriptions on request.
        if (outcome) {
          outcome->userInfo.emplace(localizedDescriptionKey,
                                    textFrom((__bridge CFStringRef)error.localizedDescription));
        }
        const std::lock_guard lock(failure->mutex);
        failure->outcome = std::move(outcome);
      }];
  [requestor processPrivilegedOperationFeedback:xpcDictionary(firstMessage)];
  const std::lock_guard lock(failure->mutex);
  return failure->outcome;
}

void MacosFeedbackConnection::processPrivilegedOperationFeedback(FeedbackMessage message) {
  const std::lock_guard lock(mutex_);
  if (!isProgressOnly(message)) {
    sendNewestProgress();
    send(dictionaryOf(std::move(message)));
    return;
  }
  newestProgress_ = dictionaryOf(std::move(message));
  const auto now = Clock::now();
  if (now < nextProgress_) return;
  nextProgress_ = now + progressInterval;
  sendNewestProgress();
}

void MacosFeedbackConnection::sendNewestProgress() {
  if (newestProgress_) send(*std::exchange(newestProgress_, std::nullopt));
}

void MacosFeedbackConnection::send(const Dictionary& message) {
  // An operation sends many messages before its caller's pool is emptied.
  @autoreleasepool {
    id<QRTPrivilegedOperationFeedbackProtocol> requestor = connection_.remoteObjectProxy;
    [requestor processPrivilegedOperationFeedback:xpcDictionary(message)];
  }
}

/// The system forbids to invalidate a connection that is suspended; an invalidated one delivers
/// nothing either.
void MacosFeedbackConnection::suspend() { [connection_ invalidate]; }

}  // namespace qrt
