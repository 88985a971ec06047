// The way back to a requestor while its operation runs.
#pragma once

#include <memory>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "protocol/RemoteInterface.h"

namespace qrt {

/// Messages travel one way and in order. A requestor that does not read holds up neither the
/// daemon's memory nor anyone else: progress is coalesced when too much waits, records and output
/// wait.
class FeedbackConnection {
 public:
  virtual ~FeedbackConnection() = default;

  /// Opens the connection and sends the first message. An error means that nobody is listening.
  virtual Outcome open(Dictionary firstMessage) = 0;

  /// Sends a message; what becomes of it is not told.
  virtual void processPrivilegedOperationFeedback(Dictionary message) = 0;

  /// Delivers what still waits and ends the connection.
  virtual void suspend() = 0;
};

/// A requestor's offer to receive feedback, passed along with its call.
class FeedbackEndpoint {
 public:
  virtual ~FeedbackEndpoint() = default;
  /// A connection for calls of the interface that the requestor implements.
  virtual std::unique_ptr<FeedbackConnection> connect(const RemoteInterface& interface) = 0;
};

}  // namespace qrt
