// A listener of the system's own transport.
#pragma once

#import <Foundation/Foundation.h>

#include "platform/Transport.h"

namespace qrt {

/// The system serves each accepted connection on its own serial queue.
class XPCListener : public Listener {
 public:
  explicit XPCListener(NSXPCListener* listener);

  void setDelegate(ListenerDelegate& delegate) override;
  Outcome resume() override;
  void runLoop() override;
  void invalidate() override;
  std::unique_ptr<ListenerEndpoint> endpoint(const Caller& caller) override;

 private:
  NSXPCListener* const listener_;
  /// The listener does not keep it.
  const id<NSXPCListenerDelegate> asked_;
  ListenerDelegate* delegate_ = nullptr;
};

}  // namespace qrt
