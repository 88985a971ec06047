// One client being served.
#pragma once

#include <chrono>
#include <memory>

#include "platform/FileDescriptor.h"
#include "platform/linux/ConnectionQuota.h"
#include "platform/linux/LinuxAuthority.h"
#include "platform/linux/WireConnection.h"
#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

/// Who asks, and what the connections of that peer count against.
struct Peer {
  /// Its connection is known once it is served.
  Caller caller;
  ConnectionQuota* quota = nullptr;
  LinuxAuthority* authority = nullptr;
};

/// Turns D-Bus messages into calls of the exported object. Served on a thread of its own until the
/// peer leaves.
class ServedConnection {
 public:
  /// How long a peer may leave a message unfinished, or so many replies unread that no further one
  /// can be sent, without anything moving. One that just has nothing to ask may stay.
  static constexpr std::chrono::seconds stallLimit{30};

  /// Starts the thread. Without a place in the quota, or without resources, the socket is closed.
  static bool serve(FileDescriptor socket, Peer peer, QRTPrivilegedHelperProtocol& object);

 private:
  ServedConnection(std::unique_ptr<WireConnection> wire, Peer peer,
                   QRTPrivilegedHelperProtocol& object);
  void run();
  void exportObjects();

  struct Methods;

  std::unique_ptr<WireConnection> wire_;
  Peer peer_;
  QRTPrivilegedHelperProtocol& object_;
};

}  // namespace qrt
