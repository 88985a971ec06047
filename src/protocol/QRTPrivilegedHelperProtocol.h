// The remote interface of the daemon.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "protocol/Caller.h"
#include "protocol/FeedbackConnection.h"
#include "protocol/RequestArguments.h"

namespace qrt {

/// With it a peer opens another connection to the daemon. Each port has its own form.
class ListenerEndpoint {
 public:
  virtual ~ListenerEndpoint() = default;
};

/// The methods that clients call. Calls of one connection arrive one after the other, calls of
/// different connections at the same time. The result of a method is its reply; a method that ends
/// the process does not reply.
class QRTPrivilegedHelperProtocol {
 public:
  virtual ~QRTPrivilegedHelperProtocol() = default;

  /// Null when no further connection can be opened.
  virtual std::unique_ptr<ListenerEndpoint> connectWithEndpoint(const Caller& caller) = 0;
  virtual std::string getVersionString() = 0;
  /// Returns false and registers nothing if the caller's user has too many clients.
  virtual bool registerClientWithPID(const Caller& caller, std::int32_t identifier) = 0;
  virtual void unregisterClientWithPID(const Caller& caller, std::int32_t identifier) = 0;

  /// `endpoint` is null if the client wants no feedback; `arguments` is null if it sent no array.
  virtual Outcome performPrivilegedOperation(const Caller& caller, std::uint64_t code,
                                             const Data& authorizationData,
                                             FeedbackEndpoint* endpoint,
                                             RequestArguments* arguments) = 0;
};

}  // namespace qrt
