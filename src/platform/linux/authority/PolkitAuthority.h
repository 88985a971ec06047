// The system's own authority, polkit.
#pragma once

#include <optional>
#include <string>

#include "platform/Authority.h"
#include "platform/linux/authority/Asker.h"

namespace qrt {

class Log;

/// May this process do this?
struct PolkitQuestion {
  const Asker& asker;
  const std::string& action;
  /// What the dialog shows; empty leaves what the action says.
  std::string message;
  std::string iconName;
  /// Without it, the answer is `interactionNotAllowed` where a dialog is needed.
  bool mayInteract;
};

/// Asks over the system bus, on a connection for each question: nothing is kept, so polkit may come
/// and go at any time. Thread-safe.
class PolkitAuthority {
 public:
  /// The bus is where the system below `root` has it.
  explicit PolkitAuthority(const std::string& root)
      : address_("unix:path=" + root + "/run/dbus/system_bus_socket") {}

  /// Waits for the person at the dialog without a time limit, but no longer than the process and
  /// the connection last; then the dialog is taken away, and the answer is `canceled`. None when no
  /// polkit can be reached; a question that cannot be put to it is `internal`.
  std::optional<AuthorizationStatus> check(const PolkitQuestion& question, Log& log) const;

 private:
  std::string address_;
};

}  // namespace qrt
