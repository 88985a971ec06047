#include "platform/macos/xpc/XPCHelperConnection.h"

#include <chrono>
#include <string>
#include <thread>

#include "platform/macos/CFValue.h"
#include "platform/macos/xpc/FeedbackReceiver.h"
#include "platform/macos/xpc/XPCValue.h"
#include "protocol/ConnectionErrors.h"

namespace qrt {
namespace {

constexpr std::chrono::milliseconds timeToSend{100};
/// What a helper takes to end after its last client has left.
constexpr std::chrono::milliseconds timeToEnd{100};

bool tellsThatHelperIsGone(const Error& error) {
  return error.domain == cocoaErrorDomain &&
         (error.code == NSXPCConnectionInterrupted || error.code == NSXPCConnectionInvalid);
}

Error unanswered() {
  return connectionError(connection_error::invalid,
                         "The helper did not answer within " +
                             std::to_string(helperAnswerLimit().count()) + " seconds.");
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

/// Sends a call whose answer, or the failure of the connection, is put into `received` by a task of
/// the mailbox. The system delivers exactly one of them, maybe after the wait has ended.
template <class T>
void XPCHelperConnection::send(const Call<T>& call, const Received<T>& received) {
  const Answer<T> answer = [mailbox = mailbox_, received](Result<T> result) {
    mailbox->post([received, result] { received->emplace(result); });
  };
  @autoreleasepool {
    call([connection_ remoteObjectProxyWithErrorHandler:^(NSError* error) {
           answer(*outcomeFrom(error));
         }],
         answer);
  }
}

template <class T>
Result<T> XPCHelperConnection::call(const Call<T>& call) {
  if (isHelperSilent_) return unanswered();
  const auto received = std::make_shared<std::optional<Result<T>>>();
  const auto deadline = std::chrono::steady_clock::now() + helperAnswerLimit();
  send(call, received);
  if (mailbox_->performUntil([&] { return received->has_value(); }, helperAnswerLimit())) {
    return **received;
  }
  isHelperSilent_ = std::chrono::steady_clock::now() >= deadline;
  return isHelperSilent_ ? unanswered() : posixError(PosixCode::interrupted);
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
  const auto received = std::make_shared<std::optional<Result<Outcome>>>();
  send<Outcome>(perform, received);
  const bool isAnswered = mailbox_->performUntil([&] {
    if (feedback && isStopWanted_) isStopWanted_ = !feedback->stopOperation();
    return received->has_value();
  });
  isStopWanted_ = false;
  if (!isAnswered) return posixError(PosixCode::interrupted);
  if (feedback) feedback->receiveRest();
  const auto& outcome = **received;
  return outcome ? *outcome : outcome.error();
}

void XPCHelperConnection::stopOperation() {
  isStopWanted_ = true;
  mailbox_->wake();
}

void XPCHelperConnection::interrupt() { mailbox_->interrupt(); }

}  // namespace qrt
