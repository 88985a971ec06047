#include "platform/Transport.h"

#include "platform/macos/MacosFacilities.h"
#include "platform/macos/xpc/XPCListener.h"

namespace qrt {
namespace {

/// Listens on the Mach service that launchd keeps for the daemon. The system serves each connection
/// on a serial queue of its own.
class MacosTransport : public Transport {
 public:
  std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) override {
    return std::make_unique<XPCListener>(
        [[NSXPCListener alloc] initWithMachServiceName:@(serviceIdentifier.c_str())]);
  }

  /// Does nothing: launchd waits some seconds before it starts a job again that has just ended.
  void turnAway() override {}
};

}  // namespace

std::unique_ptr<Transport> makeTransport() { return std::make_unique<MacosTransport>(); }

}  // namespace qrt
