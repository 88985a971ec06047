// A platform whose transport and process a test controls.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/JobControl.h"
#include "platform/NativePlatform.h"
#include "platform/SelfProcess.h"
#include "platform/Transport.h"
#include "support/FakeAuthority.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"

namespace qrt::test {

/// What `exit` does in a test instead of ending the process.
struct Exited {
  int status;
};

class FakeSelfProcess : public SelfProcess {
 public:
  std::uint32_t userID = 0;

  std::uint32_t realUserID() const override { return userID; }
  void prepareForService() override {}
  [[noreturn]] void exit(int status) override { throw Exited{status}; }
};

/// A listener that a test makes; it does not end when the helper drops it.
class FakeTransport : public Transport {
 public:
  struct Endpoint : ListenerEndpoint {};

  std::string serviceIdentifier;
  std::optional<Error> resumeFailure;
  Listener* listener = nullptr;
  ListenerDelegate* delegate = nullptr;
  bool served = false;
  bool invalidated = false;
  bool turnedAway = false;

  std::unique_ptr<Listener> makeListener(const std::string& identifier) override {
    serviceIdentifier = identifier;
    auto made = std::make_unique<FakeListener>(*this);
    listener = made.get();
    return made;
  }
  void turnAway() override { turnedAway = true; }

 private:
  class FakeListener : public Listener {
   public:
    explicit FakeListener(FakeTransport& transport) : transport_(transport) {}
    void setDelegate(ListenerDelegate& asked) override { transport_.delegate = &asked; }
    Outcome resume() override {
      if (transport_.resumeFailure) return *transport_.resumeFailure;
      return success;
    }
    void runLoop() override { transport_.served = true; }
    void invalidate() override { transport_.invalidated = true; }
    std::unique_ptr<ListenerEndpoint> endpoint() override { return std::make_unique<Endpoint>(); }

   private:
    FakeTransport& transport_;
  };
};

/// A removal tool that a test plants.
class FakeJobControl : public JobControl {
 public:
  std::string tool = "/bin/true";
  std::string removalTool() const override { return tool; }
  std::vector<std::string> removalArguments(const std::string& identifier) const override {
    return {"forget", identifier};
  }
};

/// The native platform with the facilities that the service itself stands on replaced.
struct ServicePlatform {
  NativePlatform native;
  RecordingLog log;
  FakeAuthority authority;
  FakeSelfProcess self;
  FakeTransport transport;
  FakeJobControl jobControl;
  const Platform platform = platformWith({.log = &log,
                                          .self = &self,
                                          .jobControl = &jobControl,
                                          .authority = &authority,
                                          .transport = &transport},
                                         native.facilities());
};

}  // namespace qrt::test
