// The daemon's central object.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/Platform.h"
#include "platform/Transport.h"
#include "service/ClientSet.h"
#include "service/RequestPipeline.h"

namespace qrt {

class QRTPrivilegedOperationSet;

/// Listens under the service identifier, registers clients and ends the process when the last one
/// leaves. There is at most one in a process; it is never destroyed.
class QRTPrivilegedHelper : public QRTPrivilegedHelperProtocol, public ListenerDelegate {
 public:
  /// The instance, or null before the first `init`.
  static QRTPrivilegedHelper* privilegedHelper();

  /// The instance, which the first call makes.
  static QRTPrivilegedHelper& init();

  /// The instance, set up for that operation set. Null without an operation set.
  static QRTPrivilegedHelper* initForOperationSet(const QRTPrivilegedOperationSet* operationSet,
                                                  const Platform& platform);

  /// Serves until the process ends. Returns an error if it cannot begin to serve.
  Outcome run();

  std::unique_ptr<ListenerEndpoint> connectWithEndpoint(const Caller& caller) override;
  std::string getVersionString() override;
  bool registerClientWithPID(const Caller& caller, std::int32_t identifier) override;
  /// Ends the process when no client remains.
  void unregisterClientWithPID(const Caller& caller, std::int32_t identifier) override;
  Outcome performPrivilegedOperation(const Caller& caller, std::uint64_t code,
                                     const Data& authorizationData, FeedbackEndpoint* endpoint,
                                     RequestArguments* arguments) override;

  bool shouldAcceptNewConnection(Listener& asking, IncomingConnection* connection) override;

  [[noreturn]] void terminatePrivilegedHelper();

  Listener& listener() const { return *listener_; }
  /// Read and changed under `clientSetLock` only.
  ClientSet& clientSet() { return clientSet_; }
  /// Held while the set is used, never while logging or during other calls.
  std::mutex& clientSetLock() { return clientSetLock_; }
  Log& sysLog() const { return platform_->log; }
  const QRTPrivilegedOperationSet& operationSet() const { return *operationSet_; }

 private:
  QRTPrivilegedHelper() = default;

  RequestPipeline::InternalOperations internalOperations();

  ClientSet clientSet_;
  std::mutex clientSetLock_;
  LogAllowance logAllowance_;
  std::optional<Platform> platform_;
  const QRTPrivilegedOperationSet* operationSet_ = nullptr;
  std::unique_ptr<Listener> listener_;
  std::unique_ptr<RequestPipeline> pipeline_;
};

}  // namespace qrt
