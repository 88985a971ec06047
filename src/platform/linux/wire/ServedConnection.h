// One client being served.
#pragma once

#include <chrono>
#include <memory>

#include "platform/FileDescriptor.h"
#include "platform/linux/authority/LinuxAuthority.h"
#include "platform/linux/wire/ConnectionQuota.h"
#include "platform/linux/wire/WireConnection.h"
#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

/// Who asks, where it gets its authorization, and what its large messages wait for.
struct Peer {
  /// Its connection is known once it is served.
  Caller caller;
  LinuxAuthority* authority = nullptr;
  LargeMessageQueue* largeMessages = nullptr;
};

/// Turns D-Bus messages into calls of the exported object. Served on a thread of its own until the
/// peer leaves.
class ServedConnection {
 public:
  /// How long a peer may leave a message unfinished, or so many replies unread that no further one
  /// can be sent, without anything moving. One that just has nothing to ask may stay.
  static constexpr std::chrono::seconds stallLimit{30};

  /// Starts the thread, which makes the connection and holds the place until the peer leaves: the
  /// thread that accepts is soon back at the door. Without resources the socket is closed.
  static bool serve(FileDescriptor socket, const Peer& peer, ConnectionQuota::Place place,
                    QRTPrivilegedHelperProtocol& object);

 private:
  ServedConnection(std::unique_ptr<WireConnection> wire, const Peer& peer,
                   QRTPrivilegedHelperProtocol& object);
  void run();
  void exportObjects();

  struct Methods;

  std::unique_ptr<WireConnection> wire_;
  Peer peer_;
  QRTPrivilegedHelperProtocol& object_;
};

}  // namespace qrt
