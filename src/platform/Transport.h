// How calls reach the daemon.
#pragma once

#include <memory>
#include <string>

#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

class Listener;

/// A peer that has connected and is not served yet.
class IncomingConnection {
 public:
  virtual ~IncomingConnection() = default;
  virtual void setExportedObject(QRTPrivilegedHelperProtocol& object) = 0;
  /// Starts to deliver calls, on a queue of the connection's own.
  virtual void resume() = 0;
};

class ListenerDelegate {
 public:
  virtual ~ListenerDelegate() = default;
  /// False refuses the connection. A null connection is a fault of the transport.
  virtual bool shouldAcceptNewConnection(Listener& listener, IncomingConnection* connection) = 0;
};

/// The daemon's door, found under its service identifier.
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void setDelegate(ListenerDelegate& delegate) = 0;

  /// From here on the delegate is asked. An error tells why the door cannot be opened.
  virtual Outcome resume() = 0;

  /// Serves until the process ends; runs on the main thread.
  virtual void runLoop() = 0;

  /// No further connection is accepted. Thread-safe.
  virtual void invalidate() = 0;

  /// Something to open another connection with, which then carries the identity of `caller` and
  /// counts against its user. Null when no further connection can be opened.
  virtual std::unique_ptr<ListenerEndpoint> endpoint(const Caller& caller) = 0;
};

class Transport {
 public:
  virtual ~Transport() = default;
  virtual std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) = 0;

  /// For a daemon that will not serve: dismisses whoever waits at the door, so that whatever
  /// started it for them does not start it again and again.
  virtual void turnAway() = 0;
};

}  // namespace qrt
