// A platform whose transport and process a test controls.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/NativePlatform.h"
#include "platform/SelfProcess.h"
#include "platform/Transport.h"
#include "support/FakeAuthority.h"
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
    void setDelegate(ListenerDelegate& delegate) override { transport_.delegate = &delegate; }
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

/// The native platform with the four facilities that the service itself stands on replaced.
struct ServicePlatform {
  NativePlatform native;
  RecordingLog log;
  FakeAuthority authority;
  FakeSelfProcess self;
  FakeTransport transport;
  Platform platform{log,
                    self,
                    native.facilities().files,
                    native.facilities().propertyLists,
                    native.facilities().versionFile,
                    native.facilities().processes,
                    native.facilities().kernelSettings,
                    authority,
                    transport,
                    native.facilities().helperConnector,
                    native.facilities().smc,
                    native.facilities().nvram,
                    native.facilities().blockDevices,
                    native.facilities().applications};
};

}  // namespace qrt::test
