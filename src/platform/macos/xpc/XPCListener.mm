#include "platform/macos/xpc/XPCListener.h"

#include <functional>

#include "platform/macos/xpc/ExportedHelper.h"
#include "platform/macos/xpc/XPCProtocols.h"

namespace qrt {
namespace {

class XPCIncomingConnection : public IncomingConnection {
 public:
  explicit XPCIncomingConnection(NSXPCConnection* connection) : connection_(connection) {}

  void setExportedObject(QRTPrivilegedHelperProtocol& object) override {
    connection_.exportedInterface = helperXPCInterface();
    connection_.exportedObject = [[QRTExportedHelper alloc] initWithHelper:object
                                                                connection:connection_];
  }

  void resume() override { [connection_ resume]; }

 private:
  NSXPCConnection* const connection_;
};

using Acceptance = std::function<bool(IncomingConnection*)>;

}  // namespace
}  // namespace qrt

@interface QRTListenerDelegate : NSObject <NSXPCListenerDelegate>
- (instancetype)initWithAcceptance:(qrt::Acceptance)acceptance;
@end

@implementation QRTListenerDelegate {
  qrt::Acceptance _acceptance;
}

- (instancetype)initWithAcceptance:(qrt::Acceptance)acceptance {
  self = [super init];
  if (self) _acceptance = std::move(acceptance);
  return self;
}

- (BOOL)listener:(NSXPCListener*)listener
    shouldAcceptNewConnection:(NSXPCConnection*)newConnection {
  if (!newConnection) return _acceptance(nullptr);
  qrt::XPCIncomingConnection connection(newConnection);
  return _acceptance(&connection);
}

@end

namespace qrt {

XPCListener::XPCListener(NSXPCListener* listener)
    : listener_(listener),
      asked_(
          [[QRTListenerDelegate alloc] initWithAcceptance:[this](IncomingConnection* connection) {
            return delegate_ && delegate_->shouldAcceptNewConnection(*this, connection);
          }]) {
  listener_.delegate = asked_;
}

void XPCListener::setDelegate(ListenerDelegate& delegate) { delegate_ = &delegate; }

Outcome XPCListener::resume() {
  [listener_ resume];
  return success;
}

void XPCListener::runLoop() {
  // A run loop without a source would end.
  [NSRunLoop.currentRunLoop addPort:[NSMachPort port] forMode:NSDefaultRunLoopMode];
  [NSRunLoop.currentRunLoop run];
}

/// The system forbids to invalidate a listener that is suspended; an invalidated one accepts
/// nothing either.
void XPCListener::invalidate() { [listener_ invalidate]; }

std::unique_ptr<ListenerEndpoint> XPCListener::endpoint(const Caller&) {
  return std::make_unique<MacosListenerEndpoint>(listener_.endpoint);
}

}  // namespace qrt
