// The daemon's side of the wire on Linux.
#pragma once

#include "platform/Transport.h"
#include "platform/linux/authority/LinuxAuthority.h"
#include "platform/linux/wire/ConnectionQuota.h"
#include "platform/linux/wire/LargeMessageQueue.h"

namespace qrt {

/// Serves the listening socket that the activator passes down. Every accepted socket is a D-Bus
/// connection with a thread, and so a serial queue, of its own.
class LinuxTransport : public Transport {
 public:
  explicit LinuxTransport(LinuxAuthority& authority) : authority_(authority) {}

  std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) override;
  void turnAway() override;

 private:
  LinuxAuthority& authority_;
  // They outlive every connection: its thread ends with the process.
  ConnectionQuota quota_;
  LargeMessageQueue largeMessages_;
};

}  // namespace qrt
