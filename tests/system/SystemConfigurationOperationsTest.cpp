#include "system/SystemConfigurationOperations.h"

#include <gtest/gtest.h>

#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "platform/SystemConfiguration.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"
#include "system/PreferenceOperations.h"

namespace qrt {
namespace {

using Steps = std::vector<std::string>;

/// Writes down each step that is asked of a configuration and fails at one of them.
struct Recorder {
  std::string failing;
  Steps steps;

  bool take(const std::string& step) {
    steps.push_back(step);
    return failing.empty() || !step.starts_with(failing);
  }
};

struct RecordingService : NetworkService {
  Recorder& recorder;

  explicit RecordingService(Recorder& its) : recorder(its) {}
  bool supportsIPv6() const override { return recorder.take("protocol"); }
  bool setIPv6Enabled(bool isEnabled) override {
    return recorder.take(isEnabled ? "enable" : "disable");
  }
};

struct RecordingSession : SystemConfigurationPreferences {
  Recorder& recorder;

  explicit RecordingSession(Recorder& its) : recorder(its) {}
  ~RecordingSession() override { recorder.take("close"); }
  bool lock() override { return recorder.take("lock"); }
  void unlock() override { recorder.take("unlock"); }
  bool setValue(const std::string& key, const PropertyValue& value) override {
    return recorder.take("set " + key + "=" + *value.string());
  }
  bool removeValue(const std::string& key) override { return recorder.take("remove " + key); }
  std::unique_ptr<NetworkService> networkService(const std::string& identifier) override {
    if (!recorder.take("service " + identifier)) return nullptr;
    return std::make_unique<RecordingService>(recorder);
  }
  bool applyChanges() override { return recorder.take("apply"); }
  bool commitChanges() override { return recorder.take("commit"); }
};

class SystemConfigurationOperations : public testing::Test, SystemConfiguration {
 protected:
  SystemConfigurationOperations() { registerSystemConfigurationHandlers(handlers); }
  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override {
    if (!recorder.take("open " + clientName + "/" + identifier)) return nullptr;
    return std::make_unique<RecordingSession>(recorder);
  }

  Outcome modify(const Array& arguments) {
    return (*handlers.find("performOperationModifySysconfWithArguments:"))(platform, arguments,
                                                                           nullptr);
  }
  Outcome enable(const Array& arguments) {
    return (*handlers.find("performOperationEnableIpvsixWithArguments:"))(platform, arguments,
                                                                          nullptr);
  }

  /// The steps since the last call, all of which succeeded or the last of which failed.
  void expectSteps(Steps steps) {
    const auto count = steps.size();
    if (count > 2) steps.push_back("unlock");
    if (count > 1) steps.push_back("close");
    EXPECT_EQ(std::exchange(recorder.steps, {}), steps);
  }

  const NativePlatform native;
  test::RecordingLog log;
  const Platform platform =
      test::platformWith({.log = &log, .systemConfiguration = this}, native.facilities());
  Recorder recorder;
  HandlerTable handlers;
};

TEST_F(SystemConfigurationOperations, AValueIsAppliedBeforeItIsCommitted) {
  EXPECT_FALSE(modify({"me", "", "key", "value"}));
  expectSteps({"open me/", "lock", "set key=value", "apply", "commit"});
  EXPECT_FALSE(modify({"me", "site", "key", ""}));
  expectSteps({"open me/site", "lock", "remove key", "apply", "commit"});
  for (const Array& bad : {Array{"", "", "key", "value"}, Array{"me", "", "", "value"}}) {
    EXPECT_EQ(modify(bad), posixError(PosixCode::invalidArgument));
  }
  EXPECT_EQ(codeOf(modify({"me", "", "key", "( open"})), 22);
  EXPECT_TRUE(recorder.steps.empty());
}

TEST_F(SystemConfigurationOperations, AFailedStepEndsTheChangeOfAValue) {
  const auto unknownReason = Error{
      "com.vantor.error.privileged-operation",
      11,
      {{"NSLocalizedDescription", "The system configuration could not be updated successfully."},
       {"NSLocalizedRecoverySuggestion",
        "The operating system was unable to change a preference setting in the system "
        "configuration. The reason is unknown."}}};
  Steps steps;
  for (const auto* failing : {"open me/", "lock", "set key=value", "apply", "commit"}) {
    steps.push_back(recorder.failing = failing);
    EXPECT_EQ(modify({"me", "", "key", "value"}),
              recorder.failing == "lock" ? posixError(PosixCode::busy) : unknownReason);
    expectSteps(steps);
  }
}

TEST_F(SystemConfigurationOperations, IPv6IsSwitchedAsTheNumberSays) {
  const std::pair<Number, const char*> cases[] = {{0, "disable"}, {0.5, "enable"}};
  for (const auto& [number, step] : cases) {
    EXPECT_FALSE(enable({"me", "eth0", number}));
    expectSteps({"open me/", "lock", "service eth0", "protocol", step, "apply", "commit"});
  }
  EXPECT_EQ(enable({"me", "eth0"}), posixError(PosixCode::invalidArgument));
  EXPECT_TRUE(recorder.steps.empty());
}

TEST_F(SystemConfigurationOperations, AFailedStepEndsTheSwitchAndIsLogged) {
  const std::pair<const char*, const char*> cases[] = {
      {"open me/", nullptr},
      {"lock", "Network preferences locked by other application."},
      {"service eth0", "Network service with identifier 'eth0' doesn't exist."},
      {"protocol", "IPv6 protocol is not supported by selected network service."},
      {"disable", nullptr},
      {"apply", nullptr},
      {"commit", nullptr}};
  Steps steps;
  std::vector<test::RecordingLog::Line> lines;
  for (const auto& [failing, line] : cases) {
    steps.push_back(recorder.failing = failing);
    EXPECT_EQ(enable({"me", "eth0", 0}),
              recorder.failing == "lock" ? posixError(PosixCode::busy) : preferenceSettingError());
    expectSteps(steps);
    if (line) lines.push_back({LogLevel::error, line});
  }
  EXPECT_EQ(log.lines(), lines);
}

}  // namespace
}  // namespace qrt
