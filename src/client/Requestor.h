// Requests by identifier, with untyped values.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "client/AuthorizationPresentation.h"
#include "platform/HelperConnection.h"

namespace qrt {

class FileSystem;
class QRTPrivilegedOperation;
class QRTPrivilegedOperationSet;
struct Platform;

/// How often `connect` tries to register when the connection fails. The daemon ends when its last
/// client leaves, so a new client may connect to a daemon that is about to end.
struct RegistrationPatience {
  /// At least 1.
  int attempts = 10;
  /// Between two attempts. No attempt begins after `helperAnswerLimit()`.
  std::chrono::milliseconds pause{50};
};

/// A connection to the daemon and this process's registration with it. The daemon does not end
/// while this process is registered.
///
/// An operation has no time limit; other calls fail after `helperAnswerLimit()`. Only `stop` and
/// `interrupt` may be called while another call runs; everything else belongs to one thread at a
/// time. Errors are those that the daemon sent, not localized;
/// QRTPrivilegedOperationSet::localizedErrorForPrivilegedOperationError translates them.
class Requestor {
 public:
  /// Connects to the daemon that listens at `address` (defaultHelperAddress() for the installed
  /// one) and registers this process under `processIdentifier`. Fails with the error of the last
  /// attempt. `platform` and `operations` must outlive the requestor.
  static Result<std::unique_ptr<Requestor>> connect(const Platform& platform,
                                                    const std::string& address,
                                                    std::int32_t processIdentifier,
                                                    const QRTPrivilegedOperationSet& operations,
                                                    RegistrationPatience patience = {});

  /// Unregisters, so that the daemon can end. The daemon first finishes an operation whose call was
  /// interrupted. Errors are ignored.
  ~Requestor();
  Requestor(const Requestor&) = delete;
  Requestor& operator=(const Requestor&) = delete;

  /// The version of the daemon, for example "1.6".
  Result<std::string> version();

  std::int32_t processIdentifier() const { return processIdentifier_; }

  /// Asks the daemon to perform an operation and returns its outcome. The request is sent once and
  /// never repeated, even when the connection fails. `handler` receives the feedback, on this
  /// thread and before `perform` returns; an empty handler asks for no feedback.
  ///
  /// When the operation returns a value, the outcome is an error of code 0 with the value in its
  /// user information. An identifier that is not in the catalogue is POSIX error 22.
  Outcome perform(std::string_view identifier, Array arguments,
                  const AuthorizationPresentation& presentation = {},
                  const FeedbackHandler& handler = {});
  Outcome perform(const QRTPrivilegedOperation& operation, Array arguments,
                  const AuthorizationPresentation& presentation = {},
                  const FeedbackHandler& handler = {});

  /// Asks the daemon to end the operation that runs with a handler for feedback, or the next one.
  /// `perform` still waits for the outcome: POSIX error 89 when the operation ended early; what it
  /// did until then stays done. Async-signal-safe and thread-safe.
  void stop();

  /// Makes the call that waits, and each later one, return POSIX error 4. The daemon still finishes
  /// the operation. Async-signal-safe and thread-safe.
  void interrupt();
  bool wasInterrupted() const;
  /// Whether the daemon continues an operation whose call was interrupted. If not, the interrupted
  /// call has done nothing.
  bool isOperationLeftBehind() const;

 private:
  Requestor(std::unique_ptr<HelperConnection> connection, FileSystem& files,
            std::int32_t processIdentifier, const QRTPrivilegedOperationSet& operations);

  /// The external form of this process's authorization, requested for the first operation and kept.
  Result<Data> authorizationData();

  std::unique_ptr<HelperConnection> connection_;
  FileSystem& files_;
  std::int32_t processIdentifier_;
  const QRTPrivilegedOperationSet& operations_;
  std::optional<Data> authorizationData_;
  std::atomic<bool> wasInterrupted_ = false;
  bool isOperationLeftBehind_ = false;
};

}  // namespace qrt
