#include "platform/macos/MacosHelperConnection.h"

#import <Foundation/Foundation.h>

#include <optional>

#include "platform/macos/CFValue.h"
#include "platform/macos/FeedbackReceiver.h"
#include "platform/macos/Mailbox.h"
#include "platform/macos/OwnAuthorization.h"
#include "platform/macos/XPCProtocols.h"
#include "platform/macos/XPCValue.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

bool tellsThatHelperIsGone(const Error &error) {
  return error.domain == cocoaErrorDomain &&
         (error.code == NSXPCConnectionInterrupted || error.code == NSXPCConnectionInvalid);
}

class MacosHelperConnection : public HelperConnection {
 public:
  static Result<std::unique_ptr<HelperConnection>> over(NSXPCConnection *connection) {
    const auto mailbox = std::make_shared<Mailbox>();
    if (!*mailbox) return posixError(PosixCode::tooManyFiles);
    return std::unique_ptr<HelperConnection>(new MacosHelperConnection(connection, mailbox));
  }

  ~MacosHelperConnection() override { [connection_ invalidate]; }

  Result<std::string> getVersionString() override {
    return call<std::string>([](Helper helper, Answer<std::string> answer) {
      [helper getVersionStringUsingReply:^(NSString *version) {
        answer(textFrom((__bridge CFStringRef)version));
      }];
    });
  }

  Outcome registerClientWithPID(std::int32_t identifier) override {
    [Helper(connection_.remoteObjectProxy) registerClientWithPID:identifier];
    return untilTaken();
  }

  Outcome unregisterClientWithPID(std::int32_t identifier) override {
    [Helper(connection_.remoteObjectProxy) unregisterClientWithPID:identifier];
    auto failure = untilTaken();
    const bool hasHelperEnded = failure && tellsThatHelperIsGone(*failure);
    return hasHelperEnded ? success : failure;
  }

  Result<Data> createExternalForm() override { return authorization_.externalForm(); }

  Result<std::unique_ptr<HelperConnection>> connectWithEndpoint() override {
    const auto endpoint =
        call<NSXPCListenerEndpoint *>([](Helper helper, Answer<NSXPCListenerEndpoint *> answer) {
          [helper connectWithEndpointUsingReply:^(NSXPCListenerEndpoint *offered) {
            answer(offered);
          }];
        });
    if (!endpoint) return endpoint.error();
    return over([[NSXPCConnection alloc] initWithListenerEndpoint:*endpoint]);
  }

  Outcome performPrivilegedOperation(std::uint64_t code, const Data &authorizationData,
                                     const FeedbackHandler &handler,
                                     const Array &arguments) override {
    std::optional<FeedbackReceiver> feedback;
    if (handler) feedback.emplace(mailbox_, handler);
    const auto perform = [&](Helper helper, Answer<Outcome> answer) {
      [helper performPrivilegedOperation:code
                   withAuthorizationData:[NSData dataWithBytes:authorizationData.data()
                                                        length:authorizationData.size()]
                        feedbackEndpoint:feedback ? feedback->endpoint() : nil
                               arguments:xpcArray(arguments)
                              usingReply:^(NSError *error) {
                                answer(outcomeFrom(error));
                              }];
    };
    // What was sent before the reply is handed out before it.
    const auto hasFeedbackEnded = [&] { return !feedback || feedback->hasEnded(); };
    const auto outcome = call<Outcome>(perform, hasFeedbackEnded);
    return outcome ? *outcome : outcome.error();
  }

  void interrupt() override { mailbox_->interrupt(); }

 private:
  using Helper = id<QRTPrivilegedHelperProtocol>;
  template <class T>
  using Answer = std::function<void(Result<T>)>;

  MacosHelperConnection(NSXPCConnection *connection, std::shared_ptr<Mailbox> mailbox)
      : connection_(connection), mailbox_(std::move(mailbox)) {
    connection_.remoteObjectInterface = helperXPCInterface();
    [connection_ resume];
  }

  /// Calls of one connection are served one after the other: when this one was answered, those
  /// before it have been served.
  Outcome untilTaken() {
    const auto version = getVersionString();
    return version ? success : Outcome(version.error());
  }

  /// Sends a call and waits for its answer or for the failure of the connection; exactly one of
  /// them comes, maybe when nobody waits any more.
  template <class T>
  Result<T> call(
      const std::function<void(Helper, Answer<T>)> &send,
      const std::function<bool()> &isAllElseOver = [] { return true; }) {
    const auto received = std::make_shared<std::optional<Result<T>>>();
    const Answer<T> answer = [mailbox = mailbox_, received](Result<T> result) {
      mailbox->post([received, result] { received->emplace(result); });
    };
    @autoreleasepool {
      send([connection_ remoteObjectProxyWithErrorHandler:^(NSError *error) {
             answer(*outcomeFrom(error));
           }],
           answer);
    }
    const bool isAnswered =
        mailbox_->performUntil([&] { return received->has_value() && isAllElseOver(); });
    if (!isAnswered) return posixError(PosixCode::interrupted);
    return **received;
  }

  NSXPCConnection *const connection_;
  const std::shared_ptr<Mailbox> mailbox_;
  OwnAuthorization authorization_;
};

}  // namespace

Result<std::unique_ptr<HelperConnection>> MacosHelperConnector::connect(
    const std::string &address) {
  auto *const name = [NSString stringWithUTF8String:address.c_str()];
  if (name.length == 0) {
    return Error{std::string(cocoaErrorDomain), NSXPCConnectionInvalid, {}};
  }
  return MacosHelperConnection::over([[NSXPCConnection alloc]
      initWithMachServiceName:name
                      options:NSXPCConnectionPrivileged]);
}

std::string defaultHelperAddress() { return std::string(helperServiceIdentifier); }

}  // namespace qrt
