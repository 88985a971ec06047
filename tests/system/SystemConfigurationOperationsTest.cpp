#include "system/SystemConfigurationOperations.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/NativePlatform.h"
#include "platform/SystemConfiguration.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"

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
                                                       const std::string& identifier) override {
    if (!take("open " + clientName + "/" + identifier)) return nullptr;
    return std::make_unique<Session>(*this);
  }

  struct Service : NetworkService {
    Recorder& recorder;

    explicit Service(Recorder& its) : recorder(its) {}
    bool supportsIPv6() const override { return recorder.take("protocol"); }
    bool setIPv6Enabled(bool isEnabled) override {
      return recorder.take(isEnabled ? "enable" : "disable");
    }
  };

  struct Session : SystemConfigurationPreferences {
    Recorder& recorder;

    explicit Session(Recorder& its) : recorder(its) {}
    ~Session() override { recorder.take("close"); }
    bool lock() override { return recorder.take("lock"); }
    void unlock() override { recorder.take("unlock"); }
    bool setValue(const std::string& key, const PropertyValue& value) override {
      return recorder.take("set " + key + "=" + *value.string());
    }
    bool removeValue(const std::string& key) override { return recorder.take("remove " + key); }
    std::unique_ptr<NetworkService> networkService(const std::string& identifier) override {
      if (!recorder.take("service " + identifier)) return nullptr;
      return std::make_unique<Service>(recorder);
    }
    bool applyChanges() override { return recorder.take("apply"); }
    bool commitChanges() override { return recorder.take("commit"); }
  };
};

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
  const struct {
    HandlerFunction* handler;
    Array arguments;
    Steps steps;
    std::int64_t code;
  } cases[] = {
      {modify,
       {"me", "site", "key", "value"},
       {"open me/site", "lock", "set key=value", "apply", "commit"},
       11},
      {modify, {"me", "", "key", ""}, {"open me/", "lock", "remove key", "apply", "commit"}, 11},
      {enable,
       {"me", "eth0", 0},
       {"open me/", "lock", "service eth0", "protocol", "disable", "apply", "commit"},
       10},
      {enable,
       {"me", "eth0", 0.5},
       {"open me/", "lock", "service eth0", "protocol", "enable", "apply", "commit"},
       10}};
  for (const auto& [handler, arguments, steps, code] : cases) {
    for (std::size_t last = 0; last <= steps.size(); ++last) {
      recorder.steps.clear();
      recorder.failing = last < steps.size() ? steps[last] : "none";
      EXPECT_EQ(codeOf(handler(platform, arguments, nullptr)), last == steps.size()         ? 0
                                                               : recorder.failing == "lock" ? 16
                                                                                            : code);
      Steps taken(steps.begin(), steps.begin() + std::min<long>(last + 1, steps.size()));
      if (last > 1) taken.push_back("unlock");
      if (last > 0) taken.push_back("close");
      EXPECT_EQ(recorder.steps, taken);
    }
  }
  for (const auto* line : {"Network preferences locked by other application.",
                           "Network service with identifier 'eth0' doesn't exist.",
                           "IPv6 protocol is not supported by selected network service."}) {
    const auto lines = log.texts();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 2) << line;
  }
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
