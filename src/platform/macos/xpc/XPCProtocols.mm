#include "platform/macos/xpc/XPCProtocols.h"

namespace qrt {
namespace {

NSSet<Class>* propertyListClasses() {
  return [NSSet setWithObjects:NSString.class, NSNumber.class, NSData.class, NSDate.class,
                               NSArray.class, NSDictionary.class, nil];
}

}  // namespace

NSXPCInterface* helperXPCInterface() {
  auto* interface = [NSXPCInterface interfaceWithProtocol:@protocol(QRTPrivilegedHelperProtocol)];
  const SEL perform = @selector(performPrivilegedOperation:
                                     withAuthorizationData:feedbackEndpoint:arguments:usingReply:);
  constexpr NSUInteger argumentsPosition = 3;
  [interface setClasses:propertyListClasses()
            forSelector:perform
          argumentIndex:argumentsPosition
                ofReply:NO];
  [interface setClasses:[propertyListClasses() setByAddingObject:NSError.class]
            forSelector:perform
          argumentIndex:0
                ofReply:YES];
  return interface;
}

NSXPCInterface* feedbackXPCInterface() {
  auto* interface =
      [NSXPCInterface interfaceWithProtocol:@protocol(QRTPrivilegedOperationFeedbackProtocol)];
  [interface setClasses:propertyListClasses()
            forSelector:@selector(processPrivilegedOperationFeedback:)
          argumentIndex:0
                ofReply:NO];
  return interface;
}

NSXPCInterface* controlXPCInterface() {
  return [NSXPCInterface interfaceWithProtocol:@protocol(QRTOperationControlProtocol)];
}

NSXPCInterface* xpcInterface(const RemoteInterface& interface) {
  return interface == feedbackRemoteInterface ? feedbackXPCInterface() : nil;
}

}  // namespace qrt
