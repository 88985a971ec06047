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

/// The client, the authority for its forms, and the queue for its large messages.
struct Peer {
  /// Its `connection` is set when it is served.
  Caller caller;
  LinuxAuthority* authority = nullptr;
  LargeMessageQueue* largeMessages = nullptr;
};

/// Turns D-Bus messages into calls of the exported object. Served on a thread of its own until the
/// peer leaves.
class ServedConnection {
 public:
  /// The time after which a peer is disconnected that sends no more of an unfinished message, or
  /// reads none of the replies that wait for it. A peer that sends no calls may stay.
  static constexpr std::chrono::seconds stallLimit{30};

  /// Starts the thread, which makes the connection and holds the place until the peer leaves, so
  /// that accepting takes little time. Returns false and closes the socket without resources.
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
