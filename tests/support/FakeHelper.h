// A daemon whose answers a test sets.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/HelperConnection.h"

namespace qrt::test {

/// The connections it hands out live no longer than it. Every call is recorded, in order.
class FakeHelper : public HelperConnector {
 public:
  /// Failures that come first, one a try.
  std::vector<Error> connectFailures;
  std::vector<Error> registrationFailures;
  /// How long it takes to start.
  std::chrono::milliseconds start{0};
  Result<std::string> version = std::string("1.6");
  Result<Data> externalForm = Data(32, 0xAB);

  /// What an operation sends while it runs, and answers. `whileItRuns` is called between the two.
  std::vector<Dictionary> feedback;
  std::function<void()> whileItRuns;
  /// Is called before an authorization is handed out.
  std::function<void()> whileItAuthorizes;
  Outcome answer;

  std::vector<std::string> calls;
  Array arguments;
  bool wasFeedbackWanted = false;

  Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) override {
    calls.push_back("connect " + address);
    std::this_thread::sleep_for(start);
    if (auto failure = takeFirst(connectFailures)) return *failure;
    return std::unique_ptr<HelperConnection>(std::make_unique<Connection>(*this));
  }

  static Error brokenConnection() { return {std::string(cocoaErrorDomain), 4097, {}}; }
  static Error invalidConnection() { return {std::string(cocoaErrorDomain), 4099, {}}; }

 private:
  static Outcome takeFirst(std::vector<Error>& failures) {
    if (failures.empty()) return success;
    auto first = failures.front();
    failures.erase(failures.begin());
    return first;
  }

  struct Connection : HelperConnection {
    FakeHelper& helper;
    bool isInterrupted = false;

    explicit Connection(FakeHelper& itsHelper) : helper(itsHelper) {}
    Result<std::string> getVersionString() override {
      helper.calls.push_back("version");
      return helper.version;
    }
    Outcome registerClientWithPID(std::int32_t identifier) override {
      helper.calls.push_back("register " + std::to_string(identifier));
      return takeFirst(helper.registrationFailures);
    }
    Outcome unregisterClientWithPID(std::int32_t identifier) override {
      helper.calls.push_back("unregister " + std::to_string(identifier));
      return success;
    }
    void unregisterClientWithPIDLater(std::int32_t identifier) override {
      helper.calls.push_back("unregister later " + std::to_string(identifier));
    }
    Result<Data> createExternalForm() override {
      helper.calls.push_back("createExternalForm");
      if (helper.whileItAuthorizes) helper.whileItAuthorizes();
      if (isInterrupted) return posixError(PosixCode::interrupted);
      return helper.externalForm;
    }
    Result<std::unique_ptr<HelperConnection>> connectWithEndpoint() override {
      return invalidConnection();
    }
    Outcome performPrivilegedOperation(std::uint64_t code, const Data& form,
                                       const FeedbackHandler& handler, const Array& sent) override {
      helper.calls.push_back("perform " + std::to_string(code) +
                             (form == *helper.externalForm ? "" : " unauthorized"));
      helper.arguments = sent;
      helper.wasFeedbackWanted = handler != nullptr;
      for (const auto& message : helper.feedback) {
        if (handler) handler(message);
      }
      if (helper.whileItRuns) helper.whileItRuns();
      if (isInterrupted) return posixError(PosixCode::interrupted);
      return helper.answer;
    }
    void stopOperation() override { helper.calls.push_back("stop"); }
    void interrupt() override { isInterrupted = true; }
  };
};

}  // namespace qrt::test
