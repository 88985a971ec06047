#include "operations/SystemConfigurationOperations.h"

#include <gtest/gtest.h>

#include "operations/PreferenceOperations.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "platform/SystemConfiguration.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

/// A configuration that writes down each step and fails at one of them.
class RecordingConfiguration : public SystemConfiguration {
 public:
  std::string failingStep;
  std::vector<std::string> steps;

  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override {
    if (!take("open " + clientName + "/" + identifier)) return nullptr;
    return std::make_unique<Session>([this](const std::string& step) { return take(step); });
  }

 private:
  using Take = std::function<bool(const std::string&)>;

  bool take(const std::string& step) {
    steps.push_back(step);
    return failingStep.empty() || !step.starts_with(failingStep);
  }

  struct Service : NetworkService {
    Take take;
    explicit Service(Take itsTake) : take(std::move(itsTake)) {}
    bool supportsIPv6() const override { return take("protocol"); }
    bool setIPv6Enabled(bool isEnabled) override { return take(isEnabled ? "enable" : "disable"); }
  };

  struct Session : SystemConfigurationPreferences {
    Take take;
    explicit Session(Take itsTake) : take(std::move(itsTake)) {}
    ~Session() override { take("close"); }
    bool lock() override { return take("lock"); }
    void unlock() override { take("unlock"); }
    bool setValue(const std::string& key, const PropertyValue& value) override {
      return take("set " + key + "=" + *value.string());
    }
    bool removeValue(const std::string& key) override { return take("remove " + key); }
    std::unique_ptr<NetworkService> networkService(const std::string& identifier) override {
      return take("service " + identifier) ? std::make_unique<Service>(take) : nullptr;
    }
    bool applyChanges() override { return take("apply"); }
    bool commitChanges() override { return take("commit"); }
  };
};

class SystemConfigurationOperations : public testing::Test {
 protected:
  using Steps = std::vector<std::string>;

  SystemConfigurationOperations() {
    registerSystemConfigurationHandlers(handlers, configuration, native.facilities().propertyLists,
                                        log);
  }

  Outcome modify(const Array& arguments) {
    return (*handlers.find("performOperationModifySysconfWithArguments:"))(arguments, nullptr);
  }
  Outcome enable(const Array& arguments) {
    return (*handlers.find("performOperationEnableIpvsixWithArguments:"))(arguments, nullptr);
  }
  /// The steps since the last call, with `failingStep` as the one that fails from here on.
  Steps takeSteps(std::string failingStep = {}) {
    configuration.failingStep = std::move(failingStep);
    return std::exchange(configuration.steps, {});
  }

  /// What is done when the step of that number fails.
  static Steps stepsUpTo(std::size_t failed, Steps all) {
    all.resize(failed + 1);
    if (failed > 1) all.push_back("unlock");
    if (failed > 0) all.push_back("close");
    return all;
  }

  const NativePlatform native;
  test::RecordingLog log;
  RecordingConfiguration configuration;
  HandlerTable handlers;
};

TEST_F(SystemConfigurationOperations, AValueIsAppliedBeforeItIsCommitted) {
  EXPECT_FALSE(modify({"me", "", "key", "value"}));
  EXPECT_EQ(takeSteps(),
            (Steps{"open me/", "lock", "set key=value", "apply", "commit", "unlock", "close"}));
  EXPECT_FALSE(modify({"me", "site", "key", ""}));
  EXPECT_EQ(takeSteps(),
            (Steps{"open me/site", "lock", "remove key", "apply", "commit", "unlock", "close"}));
}

TEST_F(SystemConfigurationOperations, AFailedStepEndsTheChangeOfAValue) {
  const auto unknownReason = Error{
      "com.vantor.error.privileged-operation",
      11,
      {{"NSLocalizedDescription", "The system configuration could not be updated successfully."},
       {"NSLocalizedRecoverySuggestion",
        "The operating system was unable to change a preference setting in the system "
        "configuration. The reason is unknown."}}};
  const Steps all{"open me/", "lock", "set key=value", "apply", "commit"};
  const char* const failing[] = {"open", "lock", "set", "apply", "commit"};
  for (std::size_t i = 0; i < all.size(); ++i) {
    takeSteps(failing[i]);
    EXPECT_EQ(modify({"me", "", "key", "value"}),
              i == 1 ? posixError(PosixCode::busy) : unknownReason);
    EXPECT_EQ(takeSteps(), stepsUpTo(i, all));
  }
  EXPECT_EQ(modify({"", "", "key", "value"}), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(modify({"me", "", "", "value"}), posixError(PosixCode::invalidArgument));
  const auto failure = modify({"me", "", "key", "( open"});
  ASSERT_TRUE(failure && isPosixError(*failure, PosixCode::invalidArgument));
  EXPECT_TRUE(failure->userInfo.contains("NSUnderlyingError"));
  EXPECT_TRUE(takeSteps().empty());
}

TEST_F(SystemConfigurationOperations, IPv6IsSwitchedAsTheNumberSays) {
  for (const auto& [number, step] : {std::pair<Number, const char*>{1, "enable"},
                                     {0, "disable"},
                                     {0.5, "enable"},
                                     {false, "disable"}}) {
    EXPECT_FALSE(enable({"me", "eth0", number}));
    EXPECT_EQ(takeSteps(), (Steps{"open me/", "lock", "service eth0", "protocol", step, "apply",
                                  "commit", "unlock", "close"}));
  }
  EXPECT_EQ(enable({"me", "eth0"}), posixError(PosixCode::invalidArgument));
  EXPECT_TRUE(takeSteps().empty());
}

TEST_F(SystemConfigurationOperations, AFailedStepEndsTheSwitchAndIsLogged) {
  const std::pair<const char*, const char*> cases[] = {
      {"open", nullptr},
      {"lock", "Network preferences locked by other application."},
      {"service", "Network service with identifier 'eth0' doesn't exist."},
      {"protocol", "IPv6 protocol is not supported by selected network service."},
      {"disable", nullptr},
      {"apply", nullptr},
      {"commit", nullptr},
  };
  const Steps all{"open me/", "lock", "service eth0", "protocol", "disable", "apply", "commit"};
  std::size_t lines = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto& [step, line] = cases[i];
    takeSteps(step);
    EXPECT_EQ(enable({"me", "eth0", 0}),
              i == 1 ? posixError(PosixCode::busy) : preferenceSettingError());
    EXPECT_EQ(takeSteps(), stepsUpTo(i, all));
    if (!line) continue;
    ASSERT_EQ(log.lines().size(), ++lines) << step;
    EXPECT_EQ(log.lines().back(), (test::RecordingLog::Line{LogLevel::error, line}));
  }
  EXPECT_EQ(log.lines().size(), lines);
}

}  // namespace
}  // namespace qrt
