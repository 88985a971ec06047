#include "platform/macos/ExportedHelper.h"

#include "platform/macos/CFValue.h"
#include "platform/macos/MacosFeedbackConnection.h"
#include "platform/macos/XPCValue.h"

@implementation QRTExportedHelper {
  qrt::QRTPrivilegedHelperProtocol* _helper;
}

- (instancetype)initWithHelper:(qrt::QRTPrivilegedHelperProtocol&)helper {
  self = [super init];
  if (self) _helper = &helper;
  return self;
}

- (void)connectWithEndpointUsingReply:(void (^)(NSXPCListenerEndpoint*))reply {
  const auto endpoint = _helper->connectWithEndpoint();
  // All endpoints there are were made by this port.
  const auto* native = static_cast<const qrt::MacosListenerEndpoint*>(endpoint.get());
  reply(native ? native->endpoint : nil);
}

- (void)getVersionStringUsingReply:(void (^)(NSString*))reply {
  reply(@(_helper->getVersionString().c_str()));
}

- (void)registerClientWithPID:(int32_t)identifier {
  _helper->registerClientWithPID(identifier);  // One way: who has too many learns it from the log.
}

- (void)unregisterClientWithPID:(int32_t)identifier {
  _helper->unregisterClientWithPID(identifier);
}

- (void)performPrivilegedOperation:(uint64_t)code
             withAuthorizationData:(NSData*)authorizationData
                  feedbackEndpoint:(NSXPCListenerEndpoint*)endpoint
                         arguments:(NSArray*)arguments
                        usingReply:(void (^)(NSError*))reply {
  qrt::Data authorization;
  if (authorizationData) authorization = qrt::dataFrom((__bridge CFDataRef)authorizationData);
  qrt::MacosFeedbackEndpoint feedback(endpoint);
  const auto outcome = _helper->performPrivilegedOperation(
      code, authorization, endpoint ? &feedback : nullptr, qrt::arrayFrom(arguments));
  reply(qrt::xpcError(outcome));
}

@end
