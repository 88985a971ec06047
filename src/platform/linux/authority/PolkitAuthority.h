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

/// Asks over the system bus, with one connection a question. Keeps nothing, so polkit may start and
/// stop at any time. Thread-safe.
class PolkitAuthority {
 public:
  /// The bus is where the system below `root` has it.
  explicit PolkitAuthority(const std::string& root)
      : address_("unix:path=" + root + "/run/dbus/system_bus_socket") {}

  /// Waits for the person at the dialog without a time limit. When the process or its connection
  /// ends first, the dialog is removed and the answer is `canceled`. Empty when polkit cannot be
  /// reached; `internal` when the question cannot be sent to it.
  std::optional<AuthorizationStatus> check(const PolkitQuestion& question, Log& log) const;

 private:
  std::string address_;
};

}  // namespace qrt
