// Operations that change settings, against doubles of the system's.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/NativePlatform.h"
#include "platform/Preferences.h"
#include "platform/SystemConfiguration.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"
#include "system/PreferenceOperations.h"
#include "system/SystemConfigurationOperations.h"

namespace qrt {
namespace {

using Steps = std::vector<std::string>;

/// Records each step and fails at one of them.
struct Recorder : SystemConfiguration, Preferences {
  std::string failing;
  Steps steps;

  bool take(const std::string& step) {
    steps.push_back(step);
    return step != failing;
  }
  bool setValue(const PreferenceDomain& domain, const std::string& key,
                const std::optional<PropertyValue>& value) override {
    return take(key + "|" + domain.application.value_or("every") + "|" + text(domain.user) + "|" +
                text(domain.host) + "|" + (value ? *value->string() : "nothing"));
  }
  static std::string text(const PreferenceSelector& selector) {
    using enum PreferenceSelector::Kind;
    if (selector.kind == named) return "named " + selector.name;
    return selector.kind == any ? "any" : "current";
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

constexpr auto prefer = performOperationModifyPreferencesWithArguments;
constexpr auto modify = performOperationModifySysconfWithArguments;
constexpr auto enable = performOperationEnableIpvsixWithArguments;

class SettingsOperations : public testing::Test {
 protected:
  const NativePlatform native;
  test::RecordingLog log;
  Recorder recorder;
  const Platform platform =
      test::platformWith({.log = &log, .preferences = &recorder, .systemConfiguration = &recorder},
                         native.facilities());
};

TEST_F(SettingsOperations, TakeTheirStepsInOrderAndStopAtAFailure) {
  const struct {
    HandlerFunction* handler;
    Array arguments;
    Steps steps;
    std::int64_t code;
  } cases[] = {
      {prefer,
       {"k", "NSGlobalDomain", "kCFPreferencesAnyUser", "kCFPreferencesAnyHost", "1"},
       {"k|every|any|any|1"},
       10},
      {prefer, {"k", "app", "ann", "box", "1"}, {"k|app|named ann|named box|1"}, 10},
      {prefer,
       {"k", "kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser",
        "kCFPreferencesCurrentHost", ""},
       {"k|every|current|current|nothing"},
       10},
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
      const auto failure = recorder.failing == "lock" ? 16 : code;
      EXPECT_EQ(codeOf(handler(platform, arguments, nullptr)), last < steps.size() ? failure : 0);
      Steps taken(steps.begin(), steps.begin() + std::min<long>(last + 1, steps.size()));
      if (last > 1) taken.push_back("unlock");
      if (last > 0 && handler != prefer) taken.push_back("close");
      EXPECT_EQ(recorder.steps, taken);
    }
  }
  EXPECT_EQ(log.texts().front(), "Network preferences locked by other application.");
  EXPECT_EQ(log.texts().back(), "IPv6 protocol is not supported by selected network service.");
}

TEST_F(SettingsOperations, RefuseIncompleteRequests) {
  const std::pair<HandlerFunction*, Array> cases[] = {
      {prefer, {"", "app", "ann", "box", "1"}},
      {prefer, {"k", "", "ann", "box", "1"}},
      {prefer, {"k", "app", "", "box", "1"}},
      {prefer, {"k", "app", "ann", "", "1"}},
      {prefer, {"k", "app", "ann", "box", "{ open"}},
      {modify, {"", "", "key", "value"}},
      {modify, {"me", "", "", "value"}},
      {modify, {"me", "", "key", "( open"}},
      {enable, {"me", "eth0"}}};
  for (const auto& [handler, arguments] : cases) {
    EXPECT_EQ(codeOf(handler(platform, arguments, nullptr)), 22);
  }
  EXPECT_TRUE(recorder.steps.empty());
}

}  // namespace
}  // namespace qrt
