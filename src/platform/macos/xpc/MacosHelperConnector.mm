#include "platform/HelperConnection.h"

#include "platform/macos/MacosFacilities.h"
#include "platform/macos/xpc/XPCHelperConnection.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// Connects to the daemon's Mach service; the address is its name.
class MacosHelperConnector : public HelperConnector {
 public:
  Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) override {
    auto* const name = [NSString stringWithUTF8String:address.c_str()];
    if (name.length == 0) return XPCHelperConnection::over(nil);
    return XPCHelperConnection::over(
        [[NSXPCConnection alloc] initWithMachServiceName:name options:NSXPCConnectionPrivileged]);
  }
};

}  // namespace

/// launchd starts a job at most every 10 seconds.
std::chrono::seconds helperAnswerLimit() { return std::chrono::seconds(15); }

std::string defaultHelperAddress() { return std::string(helperServiceIdentifier); }

std::unique_ptr<HelperConnector> makeHelperConnector() {
  return std::make_unique<MacosHelperConnector>();
}

}  // namespace qrt
