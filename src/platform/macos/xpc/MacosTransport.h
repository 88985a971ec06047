// The daemon's door on macOS.
#pragma once

#include "platform/Transport.h"

namespace qrt {

/// Listens on the Mach service that launchd keeps for the daemon. The system serves each connection
/// on a serial queue of its own.
class MacosTransport : public Transport {
 public:
  std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) override;

  /// Nothing to do: launchd lets some seconds pass before it starts a job again that has just
  /// ended.
  void turnAway() override {}
};

}  // namespace qrt
