// A requestor's end of feedback that records its messages.
#pragma once

#include <optional>
#include <vector>

#include "protocol/FeedbackConnection.h"

namespace qrt::test {

/// Both the endpoint and the connection to it.
class FakeFeedback : public FeedbackEndpoint {
 public:
  /// The result of opening the connection.
  std::optional<Error> refusal;
  std::vector<Dictionary> messages;
  bool suspended = false;
  StopRequest stop;

  RemoteInterface interface;

  std::unique_ptr<FeedbackConnection> connect(
      const RemoteInterface& wanted = feedbackRemoteInterface) override {
    interface = wanted;
    return std::make_unique<Connection>(*this);
  }

 private:
  struct Connection : FeedbackConnection {
    FakeFeedback& owner;

    explicit Connection(FakeFeedback& itsOwner) : owner(itsOwner) {}
    Outcome open(Dictionary firstMessage) override {
      if (owner.refusal) return *owner.refusal;
      owner.messages.push_back(std::move(firstMessage));
      return success;
    }
    void processPrivilegedOperationFeedback(FeedbackMessage message) override {
      owner.messages.push_back(dictionaryOf(std::move(message)));
    }
    const StopRequest& stopRequest() const override { return owner.stop; }
    void suspend() override { owner.suspended = true; }
  };
};

}  // namespace qrt::test
