// The daemon's door on macOS.
#pragma once

#include "platform/Transport.h"

namespace qrt {

/// Listens on the Mach service that launchd keeps for the daemon. The system serves each connection
/// on a serial queue of its own.
class MacosTransport : public Transport {
 public:
  std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) override;

  /// Nothing to do: launchd spaces out its starts by itself, and whoever waits is told when the job
  /// is removed.
  void turnAway() override {}
};

}  // namespace qrt
