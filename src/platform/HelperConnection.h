// A client's connection to the daemon.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/Error.h"
#include "base/PropertyValue.h"

namespace qrt {

/// Receives the feedback of a running operation, on the thread that called it.
using FeedbackHandler = std::function<void(const Dictionary& message)>;

/// Failures of the connection itself are "NSCocoaErrorDomain" 4097 (it broke while a call ran, or
/// an interruption was asked for: then POSIX 4) and 4099 (it cannot be opened or used). Calls wait
/// for their reply without a time limit. Not thread-safe, but for `interrupt`.
class HelperConnection {
 public:
  virtual ~HelperConnection() = default;

  virtual Result<std::string> getVersionString() = 0;

  /// Returns when the daemon has taken note.
  virtual Outcome registerClientWithPID(std::int32_t identifier) = 0;
  /// The daemon may end instead of replying; that is success as well.
  virtual Outcome unregisterClientWithPID(std::int32_t identifier) = 0;
  /// The same behind an interrupted call, which the daemon finishes first. Nobody waits for it, and
  /// the connection may go at once.
  virtual void unregisterClientWithPIDLater(std::int32_t identifier) = 0;

  /// The caller's own authorization in external form; POSIX error 1 when the helper cannot tell who
  /// it is.
  virtual Result<Data> createExternalForm() = 0;

  /// Another connection to the same daemon that needs no path.
  virtual Result<std::unique_ptr<HelperConnection>> connectWithEndpoint() = 0;

  /// An empty handler asks for no feedback.
  virtual Outcome performPrivilegedOperation(std::uint64_t code, const Data& authorizationData,
                                             const FeedbackHandler& handler,
                                             const Array& arguments) = 0;

  /// Makes the waiting call return POSIX error 4; the daemon finishes its work regardless.
  /// Async-signal-safe.
  virtual void interrupt() = 0;
};

/// Where the daemon listens that is installed on this system.
std::string defaultHelperAddress();

class HelperConnector {
 public:
  virtual ~HelperConnector() = default;
  virtual Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) = 0;
};

}  // namespace qrt
