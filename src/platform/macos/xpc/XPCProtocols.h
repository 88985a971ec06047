// The remote interfaces as the system's own transport knows them.
#pragma once

#import <Foundation/Foundation.h>

#include "protocol/RemoteInterface.h"

/// Each reply is sent exactly once; methods without a reply go one way.
@protocol QRTPrivilegedHelperProtocol
- (void)connectWithEndpointUsingReply:(void (^)(NSXPCListenerEndpoint* endpoint))reply;
- (void)getVersionStringUsingReply:(void (^)(NSString* version))reply;
- (void)registerClientWithPID:(int32_t)identifier;
- (void)unregisterClientWithPID:(int32_t)identifier;
- (void)performPrivilegedOperation:(uint64_t)code
             withAuthorizationData:(NSData*)authorizationData
                  feedbackEndpoint:(NSXPCListenerEndpoint*)endpoint
                         arguments:(NSArray*)arguments
                        usingReply:(void (^)(NSError* error))reply;
@end

@protocol QRTPrivilegedOperationFeedbackProtocol
- (void)processPrivilegedOperationFeedback:(NSDictionary*)message;
@end

/// The daemon's end of the connection for feedback.
@protocol QRTOperationControlProtocol
- (void)stopOperation;
@end

namespace qrt {

/// Descriptions of them. Where a collection is received the classes of property lists are allowed
/// and no other; an error's user information may hold errors as well.
NSXPCInterface* helperXPCInterface();
NSXPCInterface* feedbackXPCInterface();
NSXPCInterface* controlXPCInterface();

/// The description of the interface with these names; nil for another one.
NSXPCInterface* xpcInterface(const RemoteInterface& interface);

}  // namespace qrt
