// A client's connection over the system's own transport.
#pragma once

#import <Foundation/Foundation.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "platform/HelperConnection.h"
#include "platform/macos/xpc/Mailbox.h"
#include "platform/macos/xpc/OwnAuthorization.h"
#include "platform/macos/xpc/XPCProtocols.h"

namespace qrt {

class FeedbackReceiver;

class XPCHelperConnection : public HelperConnection {
 public:
  /// Takes the connection over and resumes it. Nil means that it could not be opened.
  static Result<std::unique_ptr<HelperConnection>> over(NSXPCConnection* connection);

  ~XPCHelperConnection() override;

  Result<std::string> getVersionString() override;
  Outcome registerClientWithPID(std::int32_t identifier) override;
  Outcome unregisterClientWithPID(std::int32_t identifier) override;
  void unregisterClientWithPIDLater(std::int32_t identifier) override;
  Result<Data> createExternalForm() override;
  Result<std::unique_ptr<HelperConnection>> connectWithEndpoint() override;
  Outcome performPrivilegedOperation(std::uint64_t code, const Data& authorizationData,
                                     const FeedbackHandler& handler,
                                     const Array& arguments) override;
  void stopOperation() override;
  void interrupt() override;

 private:
  using Helper = id<QRTPrivilegedHelperProtocol>;
  template <class T>
  using Answer = std::function<void(Result<T>)>;

  XPCHelperConnection(NSXPCConnection* connection, std::shared_ptr<Mailbox> mailbox);

  Outcome untilTaken();
  template <class T>
  using Call = std::function<void(Helper, Answer<T>)>;
  template <class T>
  using Received = std::shared_ptr<std::optional<Result<T>>>;
  template <class T>
  void send(const Call<T>& call, const Received<T>& received);
  /// With the limit of `helperAnswerLimit()`.
  template <class T>
  Result<T> call(const Call<T>& call);

  NSXPCConnection* const connection_;
  const std::shared_ptr<Mailbox> mailbox_;
  /// Set by the mailbox's tasks when the connection breaks.
  const std::shared_ptr<bool> hasHelperEnded_ = std::make_shared<bool>(false);
  /// The thread that waits at the mailbox looks at it.
  std::atomic<bool> isStopWanted_ = false;
  /// It did not answer in time.
  bool isHelperSilent_ = false;
  OwnAuthorization authorization_;
};

}  // namespace qrt
