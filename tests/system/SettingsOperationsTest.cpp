// Operations that change settings, against doubles of the system's.
#include <gmock/gmock.h>

#include <algorithm>

#include "operations/PrivilegedOperationError.h"
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
  const Error preference = privilegedOperationError(
      10, "A preference setting could not be updated successfully.",
      "The operating system was unable to change a preference setting. Please ensure to "
      "authenticate as administrator.");
  const Error configuration = privilegedOperationError(
      11, "The system configuration could not be updated successfully.",
      "The operating system was unable to change a preference setting in the system "
      "configuration. The reason is unknown.");
  const struct {
    HandlerFunction* handler;
    Array arguments;
    Steps steps;
    Error failure;
  } cases[] = {
      {prefer,
       {"k", "NSGlobalDomain", "kCFPreferencesAnyUser", "kCFPreferencesAnyHost", "1"},
       {"k|every|any|any|1"},
       preference},
      {prefer, {"k", "app", "ann", "box", "1"}, {"k|app|named ann|named box|1"}, preference},
      {prefer,
       {"k", "kCFPreferencesAnyApplication", "kCFPreferencesCurrentUser",
        "kCFPreferencesCurrentHost", ""},
       {"k|every|current|current|nothing"},
       preference},
      {modify,
       {"me", "site", "key", "value"},
       {"open me/site", "lock", "set key=value", "apply", "commit"},
       configuration},
      {modify,
       {"me", "", "key", ""},
       {"open me/", "lock", "remove key", "apply", "commit"},
       configuration},
      {enable,
       {"me", "eth0", 0},
       {"open me/", "lock", "service eth0", "protocol", "disable", "apply", "commit"},
       preference},
      {enable,
       {"me", "eth0", 0.5},
       {"open me/", "lock", "service eth0", "protocol", "enable", "apply", "commit"},
       preference}};
  for (const auto& [handler, arguments, steps, failure] : cases) {
    for (std::size_t last = 0; last <= steps.size(); ++last) {
      recorder.steps.clear();
      recorder.failing = last < steps.size() ? steps[last] : "none";
      const auto outcome = handler(platform, arguments, nullptr);
      const auto refusal = recorder.failing == "lock" ? posixError(PosixCode::busy) : failure;
      EXPECT_EQ(outcome, last < steps.size() ? Outcome(refusal) : success);
      Steps taken(steps.begin(), steps.begin() + std::min<long>(last + 1, steps.size()));
      if (last > 1) taken.push_back("unlock");
      if (last > 0 && handler != prefer) taken.push_back("close");
      EXPECT_EQ(recorder.steps, taken);
    }
  }
  EXPECT_THAT(log.texts(), testing::IsSupersetOf(
                               {"Network preferences locked by other application.",
                                "Network service with identifier 'eth0' doesn't exist.",
                                "IPv6 protocol is not supported by selected network service."}));
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
