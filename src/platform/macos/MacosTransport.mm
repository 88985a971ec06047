#include "platform/macos/MacosTransport.h"

#import <Foundation/Foundation.h>

#include "platform/macos/ExportedHelper.h"
#include "platform/macos/XPCProtocols.h"

namespace qrt {
namespace {

class MacosIncomingConnection : public IncomingConnection {
 public:
  explicit MacosIncomingConnection(NSXPCConnection *connection) : connection_(connection) {}

  void setExportedObject(QRTPrivilegedHelperProtocol &object) override {
    connection_.exportedInterface = helperXPCInterface();
    connection_.exportedObject = [[QRTExportedHelper alloc] initWithHelper:object];
  }

  void resume() override { [connection_ resume]; }

 private:
  NSXPCConnection *const connection_;
};

}  // namespace
}  // namespace qrt

/// Asks the listener's delegate.
@interface QRTListenerDelegate : NSObject <NSXPCListenerDelegate>
- (instancetype)initWithListener:(qrt::Listener &)listener;
@property(nonatomic) qrt::ListenerDelegate *delegate;
@end

@implementation QRTListenerDelegate {
  qrt::Listener *_listener;
}

- (instancetype)initWithListener:(qrt::Listener &)listener {
  self = [super init];
  if (self) _listener = &listener;
  return self;
}

- (BOOL)listener:(NSXPCListener *)listener
    shouldAcceptNewConnection:(NSXPCConnection *)newConnection {
  if (!self.delegate) return NO;
  if (!newConnection) return self.delegate->shouldAcceptNewConnection(*_listener, nullptr);
  qrt::MacosIncomingConnection connection(newConnection);
  return self.delegate->shouldAcceptNewConnection(*_listener, &connection);
}

@end

namespace qrt {
namespace {

class MacosListener : public Listener {
 public:
  explicit MacosListener(const std::string &serviceIdentifier)
      : listener_([[NSXPCListener alloc]
            initWithMachServiceName:@(serviceIdentifier.c_str())]),
        delegate_([[QRTListenerDelegate alloc] initWithListener:*this]) {
    listener_.delegate = delegate_;
  }

  void setDelegate(ListenerDelegate &delegate) override { delegate_.delegate = &delegate; }

  Outcome resume() override {
    [listener_ resume];
    return success;
  }

  void runLoop() override {
    // A run loop without anything to wait for would end.
    [NSRunLoop.currentRunLoop addPort:[NSMachPort port] forMode:NSDefaultRunLoopMode];
    [NSRunLoop.currentRunLoop run];
  }

  /// The system forbids to invalidate a listener that is suspended; an invalidated one accepts
  /// nothing either.
  void invalidate() override { [listener_ invalidate]; }

  std::unique_ptr<ListenerEndpoint> endpoint() override {
    return std::make_unique<MacosListenerEndpoint>(listener_.endpoint);
  }

 private:
  NSXPCListener *const listener_;
  QRTListenerDelegate *const delegate_;
};

}  // namespace

std::unique_ptr<Listener> MacosTransport::makeListener(const std::string &serviceIdentifier) {
  return std::make_unique<MacosListener>(serviceIdentifier);
}

}  // namespace qrt
