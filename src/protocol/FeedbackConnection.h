// The connection to a requestor while its operation runs.
#pragma once

#include <memory>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "protocol/FeedbackMessage.h"
#include "protocol/RemoteInterface.h"
#include "protocol/StopRequest.h"

namespace qrt {

/// Messages travel to the requestor in order. A requestor that does not read costs a bounded amount
/// of memory and delays its own operation only: when too much waits, newer progress replaces older,
/// and records and output wait. The other way the requestor can only ask that its operation stops.
class FeedbackConnection {
 public:
  virtual ~FeedbackConnection() = default;

  /// Opens the connection and sends the first message. Returns an error if the requestor does not
  /// answer.
  virtual Outcome open(Dictionary firstMessage) = 0;

  /// Sends a message, without a reply.
  virtual void processPrivilegedOperationFeedback(FeedbackMessage message) = 0;

  /// Set when the requestor asks for the end of its operation. Lives as long as the connection.
  virtual const StopRequest& stopRequest() const = 0;

  /// Sends the waiting messages and ends the connection.
  virtual void suspend() = 0;
};

/// The endpoint for feedback that a requestor passes with its call.
class FeedbackEndpoint {
 public:
  virtual ~FeedbackEndpoint() = default;
  /// A connection for calls of that interface of the requestor.
  virtual std::unique_ptr<FeedbackConnection> connect(const RemoteInterface& interface) = 0;
};

}  // namespace qrt
