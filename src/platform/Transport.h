// How calls reach the daemon.
#pragma once

#include <memory>
#include <string>

#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

class Listener;

/// A connected peer that is not served yet.
class IncomingConnection {
 public:
  virtual ~IncomingConnection() = default;
  virtual void setExportedObject(QRTPrivilegedHelperProtocol& object) = 0;
  /// Starts to deliver calls, one after the other, on the connection's own queue.
  virtual void resume() = 0;
};

class ListenerDelegate {
 public:
  virtual ~ListenerDelegate() = default;
  /// Returns false to refuse the connection. A null connection is a fault of the transport.
  virtual bool shouldAcceptNewConnection(Listener& listener, IncomingConnection* connection) = 0;
};

/// Accepts the daemon's connections under its service identifier.
class Listener {
 public:
  virtual ~Listener() = default;
  virtual void setDelegate(ListenerDelegate& delegate) = 0;

  /// Starts to listen; from now on, the delegate decides about each connection. Fails with the
  /// reason when this process cannot listen.
  virtual Outcome resume() = 0;

  /// Serves until the process ends; runs on the main thread.
  virtual void runLoop() = 0;

  /// Accepts no further connection. Thread-safe.
  virtual void invalidate() = 0;

  /// An endpoint for another connection, which has the identity of `caller` and counts for its
  /// user. Null when no further connection can be opened.
  virtual std::unique_ptr<ListenerEndpoint> endpoint(const Caller& caller) = 0;
};

class Transport {
 public:
  virtual ~Transport() = default;
  virtual std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) = 0;

  /// For a daemon that refuses to serve: closes waiting connections, so that its activator does not
  /// start it for them again and again.
  virtual void turnAway() = 0;
};

}  // namespace qrt
