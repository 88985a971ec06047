#include "system/SystemConfigurationOperations.h"

#include <gtest/gtest.h>

#include "platform/NativePlatform.h"
#include "platform/SystemConfiguration.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"
#include "system/PreferenceOperations.h"

namespace qrt {
namespace {

using Steps = std::vector<std::string>;

/// A configuration that records each step and fails at one of them.
struct Recorder : SystemConfiguration {
  std::string failing;
  Steps steps;

  bool take(const std::string& step) {
    steps.push_back(step);
    return step != failing;
  }
  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override;
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

std::unique_ptr<SystemConfigurationPreferences> Recorder::open(const std::string& clientName,
                                                               const std::string& identifier) {
  if (!take("open " + clientName + "/" + identifier)) return nullptr;
  return std::make_unique<RecordingSession>(*this);
}

constexpr auto modify = performOperationModifySysconfWithArguments;
constexpr auto enable = performOperationEnableIpvsixWithArguments;

class SystemConfigurationOperations : public testing::Test {
 protected:
  const NativePlatform native;
  test::RecordingLog log;
  Recorder recorder;
  const Platform platform =
      test::platformWith({.log = &log, .systemConfiguration = &recorder}, native.facilities());
};

TEST_F(SystemConfigurationOperations, TakeTheirStepsInOrderAndStopAtAFailure) {
  const Error unknownReason{
      "com.vantor.error.privileged-operation",
      11,
      {{"NSLocalizedDescription", "The system configuration could not be updated successfully."},
       {"NSLocalizedRecoverySuggestion",
        "The operating system was unable to change a preference setting in the system "
        "configuration. The reason is unknown."}}};
  const struct {
    HandlerFunction* handler;
    Array arguments;
    Steps steps;
    Error failure;
  } cases[] = {{modify,
                {"me", "site", "key", "value"},
                {"open me/site", "lock", "set key=value", "apply", "commit"},
                unknownReason},
               {modify,
                {"me", "", "key", ""},
                {"open me/", "lock", "remove key", "apply", "commit"},
                unknownReason},
               {enable,
                {"me", "eth0", 0},
                {"open me/", "lock", "service eth0", "protocol", "disable", "apply", "commit"},
                preferenceSettingError()},
               {enable,
                {"me", "eth1", 0.5},
                {"open me/", "lock", "service eth1", "protocol", "enable", "apply", "commit"},
                preferenceSettingError()}};
  for (const auto& [handler, arguments, steps, failure] : cases) {
    for (std::size_t last = 0; last <= steps.size(); ++last) {
      const auto failing = last < steps.size() ? steps[last] : "";
      recorder.steps.clear();
      recorder.failing = failing;
      EXPECT_EQ(handler(platform, arguments, nullptr), failing.empty() ? Outcome()
                                                       : failing == "lock"
                                                           ? posixError(PosixCode::busy)
                                                           : failure);
      Steps taken(steps.begin(),
                  steps.begin() + static_cast<long>(std::min(last + 1, steps.size())));
      if (last > 1) taken.push_back("unlock");
      if (last > 0) taken.push_back("close");
      EXPECT_EQ(recorder.steps, taken);
    }
  }
  const std::string locked = "Network preferences locked by other application.",
                    protocol = "IPv6 protocol is not supported by selected network service.";
  EXPECT_EQ(log.texts(),
            (Steps{locked, "Network service with identifier 'eth0' doesn't exist.", protocol,
                   locked, "Network service with identifier 'eth1' doesn't exist.", protocol}));
  EXPECT_EQ(log.lines().back().level, LogLevel::error);
}

TEST_F(SystemConfigurationOperations, RefuseIncompleteRequests) {
  for (const Array& arguments : {Array{"", "", "key", "value"}, Array{"me", "", "", "value"},
                                 Array{"me", "", "key", "( open"}}) {
    EXPECT_EQ(codeOf(modify(platform, arguments, nullptr)), 22);
  }
  EXPECT_EQ(codeOf(enable(platform, {"me", "eth0"}, nullptr)), 22);
  EXPECT_TRUE(recorder.steps.empty());
}

}  // namespace
}  // namespace qrt
