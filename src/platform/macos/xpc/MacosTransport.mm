#include "platform/macos/xpc/MacosTransport.h"

#include "platform/macos/xpc/XPCListener.h"

namespace qrt {

std::unique_ptr<Listener> MacosTransport::makeListener(const std::string& serviceIdentifier) {
  return std::make_unique<XPCListener>(
      [[NSXPCListener alloc] initWithMachServiceName:@(serviceIdentifier.c_str())]);
}

}  // namespace qrt
