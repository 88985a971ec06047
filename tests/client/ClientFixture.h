// The command-line client between doubles of the helper, the terminal and the calling process.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "client/cli/Client.h"
#include "platform/CallerProcess.h"
#include "platform/NativePlatform.h"
#include "support/FakeAuthority.h"
#include "support/FakeHelper.h"
#include "support/FakeTerminal.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"

namespace qrt::test {

struct FakeCaller : CallerProcess {
  PosixResult<std::string> folder = std::string("/here");
  bool hasAgent = false;
  /// Does what a signal would do.
  std::function<void()> interrupt;

  std::int32_t processIdentifier() const override { return 42; }
  PosixResult<std::string> currentFolder() const override { return folder; }
  std::vector<std::string> homeFolders() const override { return {"/usr"}; }
  std::unique_ptr<InterruptionGuard> catchInterruptions(std::function<void()> action) override {
    interrupt = std::move(action);
    return std::make_unique<InterruptionGuard>();
  }
  std::unique_ptr<TextAgent> startTextAgent() override {
    struct Agent : TextAgent {
      void dismiss() override {}
    };
    return hasAgent ? std::make_unique<Agent>() : nullptr;
  }
};

class ClientFixture : public testing::Test {
 protected:
  using Words = std::vector<std::string>;

  /// Runs the client and returns its status. Drops the output and the calls of earlier runs.
  int run(const Words& words) {
    constexpr RegistrationPatience patience{.attempts = 2, .pause = std::chrono::milliseconds(1)};
    terminal.take();
    helper.calls.clear();
    return static_cast<int>(runClient(words, {platform, terminal, caller, bundlePath, language,
                                              patience, /*mayColor=*/true, noticeDelay}));
  }

  FakeHelper helper;
  FakeTerminal terminal;
  FakeCaller caller;
  FakeSelf self;
  FakeAuthority authority;
  RecordingLog log;
  std::string bundlePath = "/nowhere", language = "C";
  std::chrono::milliseconds noticeDelay{60'000};
  NativePlatform native;
  Platform platform = platformWith(
      {.log = &log, .self = &self, .authority = &authority, .helperConnector = &helper},
      native.facilities());
};

}  // namespace qrt::test
