// The object that receives a peer's calls.
#pragma once

#include "platform/macos/xpc/XPCProtocols.h"
#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

/// An invitation that the system can pass on to any process.
struct MacosListenerEndpoint : ListenerEndpoint {
  explicit MacosListenerEndpoint(NSXPCListenerEndpoint* native) : endpoint(native) {}
  NSXPCListenerEndpoint* const endpoint;
};

}  // namespace qrt

/// Hands each call to the helper and replies with what it returned, on the connection's own queue.
@interface QRTExportedHelper : NSObject <QRTPrivilegedHelperProtocol>
/// The helper outlives the object. The connection owns the object and is not retained by it.
- (instancetype)initWithHelper:(qrt::QRTPrivilegedHelperProtocol&)helper
                    connection:(NSXPCConnection*)connection;
@end
