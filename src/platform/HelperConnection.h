// A client's connection to the daemon.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Receives the feedback of a running operation, on the thread that called it.
using FeedbackHandler = std::function<void(const Dictionary& message)>;

/// An operation has no time limit. Every other call fails after `helperAnswerLimit()`, and after
/// that the calls of this connection fail at once. A call fails with an error of
/// protocol/ConnectionErrors.h when the connection itself fails or the limit is over, and with
/// POSIX error 4 after `interrupt`. Not thread-safe, except for `interrupt` and `stopOperation`.
class HelperConnection {
 public:
  virtual ~HelperConnection() = default;

  virtual Result<std::string> getVersionString() = 0;

  /// Returns when the daemon has registered the process.
  virtual Outcome registerClientWithPID(std::int32_t identifier) = 0;
  /// Also succeeds when the daemon ends instead of replying.
  virtual Outcome unregisterClientWithPID(std::int32_t identifier) = 0;
  /// The same after an interrupted call, which the daemon finishes first. Does not wait for the
  /// reply; the connection may be destroyed at once.
  virtual void unregisterClientWithPIDLater(std::int32_t identifier) = 0;

  /// The caller's own authorization in external form. POSIX error 1 when the helper cannot identify
  /// the caller.
  virtual Result<Data> createExternalForm() = 0;

  /// A second connection to the same daemon, made without its address.
  virtual Result<std::unique_ptr<HelperConnection>> connectWithEndpoint() = 0;

  /// `handler` runs on the calling thread. With an empty handler the daemon sends no feedback.
  virtual Outcome performPrivilegedOperation(std::uint64_t code, const Data& authorizationData,
                                             const FeedbackHandler& handler,
                                             const Array& arguments) = 0;

  /// Asks the daemon to end the operation that was called with a handler, or will be called next;
  /// the call still waits for the reply. Async-signal-safe.
  virtual void stopOperation() = 0;

  /// Makes the waiting call return POSIX error 4. The daemon still finishes its work.
  /// Async-signal-safe.
  virtual void interrupt() = 0;
};

/// The address of the daemon that is installed on this system.
std::string defaultHelperAddress();

/// How long a daemon may take to start and to answer.
std::chrono::seconds helperAnswerLimit();

class HelperConnector {
 public:
  virtual ~HelperConnector() = default;
  /// Fails with an error of protocol/ConnectionErrors.h when no daemon can be reached, or none
  /// answers within `helperAnswerLimit()`.
  virtual Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) = 0;
};

}  // namespace qrt
