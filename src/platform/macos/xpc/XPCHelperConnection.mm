#include "platform/macos/xpc/XPCHelperConnection.h"

#include <chrono>
#include <thread>

#include "platform/macos/CFValue.h"
#include "platform/macos/xpc/FeedbackReceiver.h"
#include "platform/macos/xpc/XPCValue.h"

namespace qrt {
namespace {

constexpr std::chrono::milliseconds timeToSend{100};
/// What a helper takes to end after its last client has left.
constexpr std::chrono::milliseconds timeToEnd{100};

bool tellsThatHelperIsGone(const Error& error) {
  return error.domain == cocoaErrorDomain &&
         (error.code == NSXPCConnectionInterrupted || error.code == NSXPCConnectionInvalid);
}

}  // namespace

Result<std::unique_ptr<HelperConnection>> XPCHelperConnection::over(NSXPCConnection* connection) {
  if (!connection) return Error{std::string(cocoaErrorDomain), NSXPCConnectionInvalid, {}};
  const auto mailbox = std::make_shared<Mailbox>();
  if (!*mailbox) return posixError(PosixCode::tooManyFiles);
  return std::unique_ptr<HelperConnection>(new XPCHelperConnection(connection, mailbox));
}

XPCHelperConnection::XPCHelperConnection(NSXPCConnection* connection,
                                         std::shared_ptr<Mailbox> mailbox)
    : connection_(connection), mailbox_(std::move(mailbox)) {
  connection_.remoteObjectInterface = helperXPCInterface();
  const auto hasEnded = hasHelperEnded_;
  const auto box = mailbox_;
  connection_.interruptionHandler = connection_.invalidationHandler = ^{
    box->post([hasEnded] { *hasEnded = true; });
  };
  [connection_ resume];
}

XPCHelperConnection::~XPCHelperConnection() { [connection_ invalidate]; }

/// Sends a call and waits for its answer or for the failure of the connection. The system delivers
/// exactly one of them, maybe after an interruption has ended the wait.
template <class T>
Result<T> XPCHelperConnection::call(const std::function<void(Helper, Answer<T>)>& send,
                                    FeedbackReceiver* feedback) {
  const auto received = std::make_shared<std::optional<Result<T>>>();
  const Answer<T> answer = [mailbox = mailbox_, received](Result<T> result) {
    mailbox->post([received, result] { received->emplace(result); });
  };
  @autoreleasepool {
    send([connection_ remoteObjectProxyWithErrorHandler:^(NSError* error) {
           answer(*outcomeFrom(error));
         }],
         answer);
  }
  const bool isAnswered = mailbox_->performUntil([&] {
    if (feedback && isStopWanted_) isStopWanted_ = !feedback->stopOperation();
    return received->has_value();
  });
  if (!isAnswered) return posixError(PosixCode::interrupted);
  return **received;
}

Result<std::string> XPCHelperConnection::getVersionString() {
  return call<std::string>([](Helper helper, Answer<std::string> answer) {
    [helper getVersionStringUsingReply:^(NSString* version) {
      answer(textFrom((__bridge CFStringRef)version));
    }];
  });
}

/// Calls of one connection are served one after the other: when a later one was answered, those
/// without a reply have been served.
Outcome XPCHelperConnection::untilTaken() {
  const auto version = getVersionString();
  return version ? success : Outcome(version.error());
}

Outcome XPCHelperConnection::registerClientWithPID(std::int32_t identifier) {
  [Helper(connection_.remoteObjectProxy) registerClientWithPID:identifier];
  return untilTaken();
}

Outcome XPCHelperConnection::unregisterClientWithPID(std::int32_t identifier) {
  *hasHelperEnded_ = false;
  [Helper(connection_.remoteObjectProxy) unregisterClientWithPID:identifier];
  // A further message to a helper that has ended would start it again.
  if (mailbox_->performUntil([this] { return *hasHelperEnded_; }, timeToEnd)) return success;
  auto failure = untilTaken();
  const bool hasHelperEnded = failure && tellsThatHelperIsGone(*failure);
  return hasHelperEnded ? success : failure;
}

void XPCHelperConnection::unregisterClientWithPIDLater(std::int32_t identifier) {
  [Helper(connection_.remoteObjectProxy) unregisterClientWithPID:identifier];
  // The system sends on its own queue and does not report when it has sent.
  std::this_thread::sleep_for(timeToSend);
}

Result<Data> XPCHelperConnection::createExternalForm() { return authorization_.externalForm(); }

Result<std::unique_ptr<HelperConnection>> XPCHelperConnection::connectWithEndpoint() {
  using Endpoint = NSXPCListenerEndpoint*;
  const auto endpoint = call<Endpoint>([](Helper helper, Answer<Endpoint> answer) {
    [helper connectWithEndpointUsingReply:^(Endpoint offered) {
      answer(offered);
    }];
  });
  if (!endpoint) return endpoint.error();
  return over(*endpoint ? [[NSXPCConnection alloc] initWithListenerEndpoint:*endpoint] : nil);
}

Outcome XPCHelperConnection::performPrivilegedOperation(std::uint64_t code,
                                                        const Data& authorizationData,
                                                        const FeedbackHandler& handler,
                                                        const Array& arguments) {
  std::optional<FeedbackReceiver> feedback;
  if (handler) feedback.emplace(mailbox_, handler);
  const auto perform = [&](Helper helper, Answer<Outcome> answer) {
    [helper performPrivilegedOperation:code
                 withAuthorizationData:[NSData dataWithBytes:authorizationData.data()
                                                      length:authorizationData.size()]
                      feedbackEndpoint:feedback ? feedback->endpoint() : nil
                             arguments:xpcArray(arguments)
                            usingReply:^(NSError* error) {
                              answer(outcomeFrom(error));
                            }];
  };
  const auto outcome = call<Outcome>(perform, feedback ? &*feedback : nullptr);
  isStopWanted_ = false;
  const bool isAnswered = outcome || !isPosixError(outcome.error(), PosixCode::interrupted);
  if (feedback && isAnswered) feedback->receiveRest();
  return outcome ? *outcome : outcome.error();
}

void XPCHelperConnection::stopOperation() {
  isStopWanted_ = true;
  mailbox_->wake();
}

void XPCHelperConnection::interrupt() { mailbox_->interrupt(); }

}  // namespace qrt
