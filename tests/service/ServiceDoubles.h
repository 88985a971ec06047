// A platform with doubles of what the service uses directly.
#pragma once

#include <memory>
#include <string>

#include "platform/JobControl.h"
#include "platform/NativePlatform.h"
#include "platform/Transport.h"
#include "support/FakeAuthority.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"

namespace qrt::test {

/// Records the calls of its listener.
struct FakeTransport : Transport {
  struct FakeListener : Listener {
    FakeTransport& transport;

    explicit FakeListener(FakeTransport& itsTransport) : transport(itsTransport) {}
    void setDelegate(ListenerDelegate&) override {}
    Outcome resume() override { return transport.resumeFailure; }
    void runLoop() override { transport.served = true; }
    void invalidate() override { transport.invalidated = true; }
    std::unique_ptr<ListenerEndpoint> endpoint(const Caller&) override {
      return std::make_unique<ListenerEndpoint>();
    }
  };

  std::string serviceIdentifier;
  Outcome resumeFailure;
  Listener* listener = nullptr;
  bool served = false, invalidated = false, turnedAway = false;

  std::unique_ptr<Listener> makeListener(const std::string& identifier) override {
    serviceIdentifier = identifier;
    auto made = std::make_unique<FakeListener>(*this);
    listener = made.get();
    return made;
  }
  void turnAway() override { turnedAway = true; }
};

/// A removal tool that a test plants.
struct FakeJobControl : JobControl {
  std::string tool;

  std::string removalTool() const override { return tool; }
  std::vector<std::vector<std::string>> removalRuns(const std::string& identifier) const override {
    return {{"forget", identifier}};
  }
};

/// The native platform with the doubles in their places.
struct ServicePlatform {
  NativePlatform native;
  RecordingLog log;
  FakeAuthority authority;
  FakeSelf self;
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
