// A program's way to have the daemon do privileged work for it.
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
#include "platform/HelperConnection.h"

namespace qrt {

class FileSystem;
class QRTPrivilegedOperation;
class QRTPrivilegedOperationSet;
struct Platform;

/// What the authorization dialog shows instead of the right's own text. Empty means: its own.
struct AuthorizationPresentation {
  std::string prompt;
  /// Path of an image file, readable for everybody.
  std::string iconPath;
};

/// How often a registration is tried on a connection that cannot be opened or breaks. The last
/// client's leaving ends the daemon, so a newcomer may meet a daemon that is just going.
struct RegistrationPatience {
  int attempts = 10;
  std::chrono::milliseconds pause{50};
};

/// True for a failure of the connection itself: the daemon was not reached, or it has gone.
bool isConnectionFailure(const Error& error);

/// A connection to the daemon under which this process is registered; the daemon stays for as long
/// as that lasts. Calls wait for their answer without a time limit. Not thread-safe, but for
/// `interrupt`. Errors are unlocalized, as the daemon sent them.
class PrivilegeRequestor {
 public:
  /// Connects and registers. `platform` and `operations` outlive the requestor.
  static Result<std::unique_ptr<PrivilegeRequestor>> connect(
      const Platform& platform, const std::string& address, std::int32_t processIdentifier,
      const QRTPrivilegedOperationSet& operations, RegistrationPatience patience = {});

  /// Unregisters, so that the daemon can end; an operation that was left behind is finished first.
  ~PrivilegeRequestor();
  PrivilegeRequestor(const PrivilegeRequestor&) = delete;
  PrivilegeRequestor& operator=(const PrivilegeRequestor&) = delete;

  Result<std::string> version();

  /// Has an operation performed, once; whatever becomes of the connection, it is not repeated.
  /// `handler` runs on this thread while the operation does; leave it empty to get no feedback.
  /// An answer that is a value is an error of code 0 with the value in its user information. An
  /// identifier that is not in the catalogue is POSIX error 22.
  Outcome perform(std::string_view identifier, Array arguments,
                  const AuthorizationPresentation& presentation = {},
                  const FeedbackHandler& handler = {});
  Outcome perform(const QRTPrivilegedOperation& operation, Array arguments,
                  const AuthorizationPresentation& presentation = {},
                  const FeedbackHandler& handler = {});

  /// Makes the waiting call, or else the next one, return POSIX error 4. The daemon finishes the
  /// operation. Async-signal-safe.
  void interrupt();
  bool wasInterrupted() const;
  /// True when the daemon goes on with an operation whose call was interrupted. Otherwise the
  /// interrupted call has done nothing.
  bool isOperationLeftBehind() const;

 private:
  PrivilegeRequestor(std::unique_ptr<HelperConnection> connection, FileSystem& files,
                     std::int32_t processIdentifier, const QRTPrivilegedOperationSet& operations);

  /// This process's authorization, obtained for the first operation and kept.
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
