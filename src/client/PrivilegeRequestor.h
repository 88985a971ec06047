// The client library: asks the daemon to do privileged work.
#pragma once

#include <memory>
#include <string>

#include "base/Error.h"
#include "base/Result.h"
#include "client/OperationCalls.h"
#include "client/RequestErrors.h"

namespace qrt {

/// A connection to the daemon and this process's registration with it. The daemon does not end
/// while this process is registered. A requestor that was moved from can only be destroyed.
///
/// An operation has no time limit, because a person may have to enter a password; other calls fail
/// when the daemon does not answer for some seconds. Only `stop` and `interrupt` may be called
/// while another call runs; everything else belongs to one thread at a time.
class PrivilegeRequestor final : public OperationCalls {
 public:
  /// Connects to the installed daemon and registers this process. Relative paths will be below the
  /// current folder of this moment.
  static Result<PrivilegeRequestor> connect();

  /// For the library itself; programs use `connect`.
  explicit PrivilegeRequestor(std::unique_ptr<CallSender> sender);

  /// The version of the daemon, for example "1.6".
  Result<std::string> version();

  /// Asks the daemon to end the operation that runs with a function for feedback, or the next one.
  /// The call still waits for the outcome: POSIX error 89 when the operation ended early; what it
  /// did until then stays done. Async-signal-safe and thread-safe.
  void stop();

  /// Makes the call that waits, and each later one, return POSIX error 4. The daemon still finishes
  /// the operation. Async-signal-safe and thread-safe.
  void interrupt();
  bool wasInterrupted() const;
  /// Whether the daemon continues an operation whose call was interrupted. If not, the interrupted
  /// call has done nothing.
  bool isOperationLeftBehind() const;
};

}  // namespace qrt
