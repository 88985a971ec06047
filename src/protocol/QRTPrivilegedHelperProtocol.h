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

/// Something that a peer can open another connection to the daemon with; each port has its own.
class ListenerEndpoint {
 public:
  virtual ~ListenerEndpoint() = default;
};

/// What a client may call. Calls of one connection arrive one after the other, calls of different
/// connections at the same time. What a method returns is its one reply; a method that ends the
/// process does not reply.
class QRTPrivilegedHelperProtocol {
 public:
  virtual ~QRTPrivilegedHelperProtocol() = default;

  /// Null when no further connection can be opened.
  virtual std::unique_ptr<ListenerEndpoint> connectWithEndpoint(const Caller& caller) = 0;
  virtual std::string getVersionString() = 0;
  /// False, and nothing registered, when the caller's user has too many clients.
  virtual bool registerClientWithPID(const Caller& caller, std::int32_t identifier) = 0;
  virtual void unregisterClientWithPID(const Caller& caller, std::int32_t identifier) = 0;

  /// `endpoint` is null when the client wants no feedback; `arguments` is null when it sent no
  /// array, not even an empty one.
  virtual Outcome performPrivilegedOperation(const Caller& caller, std::uint64_t code,
                                             const Data& authorizationData,
                                             FeedbackEndpoint* endpoint,
                                             RequestArguments* arguments) = 0;
};

}  // namespace qrt
