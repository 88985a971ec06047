// Feedback to an endpoint that the requestor passed along.
#pragma once

#import <Foundation/Foundation.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

#include "protocol/FeedbackConnection.h"

namespace qrt {

/// The daemon's end. The system queues messages that the requestor has not taken yet and does not
/// report when it takes them. So progress is sent at intervals only; another message is sent after
/// the newest progress that was held back.
class MacosFeedbackConnection : public FeedbackConnection {
 public:
  static constexpr std::chrono::milliseconds progressInterval{20};

  MacosFeedbackConnection(NSXPCListenerEndpoint* endpoint, const RemoteInterface& interface);
  ~MacosFeedbackConnection() override;

  Outcome open(Dictionary firstMessage) override;
  void processPrivilegedOperationFeedback(FeedbackMessage message) override;
  const StopRequest& stopRequest() const override { return *stopRequest_; }
  void suspend() override;

 private:
  using Clock = std::chrono::steady_clock;

  void send(const Dictionary& message);
  void sendNewestProgress();

  NSXPCConnection* const connection_;
  /// The exported object, which can receive a last call after this object is gone, shares it.
  const std::shared_ptr<StopRequest> stopRequest_ = std::make_shared<StopRequest>();
  std::mutex mutex_;
  Clock::time_point nextProgress_{};
  /// Progress that was held back.
  std::optional<Dictionary> newestProgress_;
};

/// A requestor's offer as it came with the request.
class MacosFeedbackEndpoint : public FeedbackEndpoint {
 public:
  explicit MacosFeedbackEndpoint(NSXPCListenerEndpoint* endpoint) : endpoint_(endpoint) {}

  std::unique_ptr<FeedbackConnection> connect(const RemoteInterface& interface) override {
    return std::make_unique<MacosFeedbackConnection>(endpoint_, interface);
  }

 private:
  NSXPCListenerEndpoint* const endpoint_;
};

}  // namespace qrt
