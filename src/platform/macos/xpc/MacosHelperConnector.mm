#include "platform/macos/xpc/MacosHelperConnector.h"

#include "platform/macos/xpc/XPCHelperConnection.h"
#include "protocol/Names.h"

namespace qrt {

Result<std::unique_ptr<HelperConnection>> MacosHelperConnector::connect(
    const std::string& address) {
  auto* const name = [NSString stringWithUTF8String:address.c_str()];
  if (name.length == 0) return XPCHelperConnection::over(nil);
  return XPCHelperConnection::over(
      [[NSXPCConnection alloc] initWithMachServiceName:name options:NSXPCConnectionPrivileged]);
}

std::string defaultHelperAddress() { return std::string(helperServiceIdentifier); }

}  // namespace qrt
