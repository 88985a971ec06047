#include "platform/macos/xpc/ExportedHelper.h"

#include <optional>

#include "platform/macos/CFValue.h"
#include "platform/macos/xpc/MacosFeedbackConnection.h"
#include "platform/macos/xpc/XPCValue.h"

@implementation QRTExportedHelper {
  qrt::QRTPrivilegedHelperProtocol* _helper;
  __weak NSXPCConnection* _connection;
}

- (instancetype)initWithHelper:(qrt::QRTPrivilegedHelperProtocol&)helper
                    connection:(NSXPCConnection*)connection {
  self = [super init];
  if (self) {
    _helper = &helper;
    _connection = connection;
  }
  return self;
}

- (qrt::Caller)caller {
  NSXPCConnection* const connection = _connection;
  if (!connection) return {};
  qrt::Caller caller;
  caller.userID = connection.effectiveUserIdentifier;
  caller.processID = connection.processIdentifier;
  return caller;
}

- (void)connectWithEndpointUsingReply:(void (^)(NSXPCListenerEndpoint*))reply {
  const auto endpoint = _helper->connectWithEndpoint(self.caller);
  // Every endpoint was made by this port.
  const auto* native = static_cast<const qrt::MacosListenerEndpoint*>(endpoint.get());
  reply(native ? native->endpoint : nil);
}

- (void)getVersionStringUsingReply:(void (^)(NSString*))reply {
  reply(@(_helper->getVersionString().c_str()));
}

- (void)registerClientWithPID:(int32_t)identifier {
  // One way: a caller with too many clients finds the refusal in the log.
  _helper->registerClientWithPID(self.caller, identifier);
}

- (void)unregisterClientWithPID:(int32_t)identifier {
  _helper->unregisterClientWithPID(self.caller, identifier);
}

- (void)performPrivilegedOperation:(uint64_t)code
             withAuthorizationData:(NSData*)authorizationData
                  feedbackEndpoint:(NSXPCListenerEndpoint*)endpoint
                         arguments:(NSArray*)arguments
                        usingReply:(void (^)(NSError*))reply {
  qrt::Data authorization;
  if (authorizationData) authorization = qrt::dataFrom((__bridge CFDataRef)authorizationData);
  qrt::MacosFeedbackEndpoint feedback(endpoint);
  std::optional<qrt::DecodedArguments> received;
  if ([arguments isKindOfClass:NSArray.class]) {
    received.emplace(qrt::arrayFrom(arguments), arguments.count);
  }
  const auto outcome = _helper->performPrivilegedOperation(self.caller, code, authorization,
                                                           endpoint ? &feedback : nullptr,
                                                           received ? &*received : nullptr);
  reply(qrt::xpcError(outcome));
}

@end
