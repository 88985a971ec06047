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
    return std::make_unique<Session>(*this);
  }

 private:
  bool take(const std::string& step) {
    steps.push_back(step);
    return failingStep.empty() || !step.starts_with(failingStep);
  }

  class Service : public NetworkService {
   public:
    explicit Service(RecordingConfiguration& owner) : owner_(owner) {}
    bool supportsIPv6() const override { return owner_.take("protocol"); }
    bool setIPv6Enabled(bool isEnabled) override {
      return owner_.take(isEnabled ? "enable" : "disable");
    }

   private:
    RecordingConfiguration& owner_;
  };

  class Session : public SystemConfigurationPreferences {
   public:
    explicit Session(RecordingConfiguration& owner) : owner_(owner) {}
    ~Session() override { owner_.take("close"); }
    bool lock() override { return owner_.take("lock"); }
    void unlock() override { owner_.take("unlock"); }
    bool setValue(const std::string& key, const PropertyValue& value) override {
      return owner_.take("set " + key + "=" + *value.string());
    }
    bool removeValue(const std::string& key) override { return owner_.take("remove " + key); }
    std::unique_ptr<NetworkService> networkService(const std::string& identifier) override {
      if (!owner_.take("service " + identifier)) return nullptr;
      return std::make_unique<Service>(owner_);
    }
    bool applyChanges() override { return owner_.take("apply"); }
    bool commitChanges() override { return owner_.take("commit"); }

   private:
    RecordingConfiguration& owner_;
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
  const struct {
    const char* step;
    Error failure;
    Steps steps;
  } cases[] = {
      {"open", unknownReason, {"open me/"}},
      {"lock", posixError(PosixCode::busy), {"open me/", "lock", "close"}},
      {"set", unknownReason, {"open me/", "lock", "set key=value", "unlock", "close"}},
      {"apply", unknownReason, {"open me/", "lock", "set key=value", "apply", "unlock", "close"}},
      {"commit",
       unknownReason,
       {"open me/", "lock", "set key=value", "apply", "commit", "unlock", "close"}},
  };
  for (const auto& c : cases) {
    takeSteps(c.step);
    EXPECT_EQ(modify({"me", "", "key", "value"}), c.failure) << c.step;
    EXPECT_EQ(takeSteps(), c.steps);
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
  const struct {
    const char* step;
    Error failure;
    const char* line;
  } cases[] = {
      {"open", preferenceSettingError(), nullptr},
      {"lock", posixError(PosixCode::busy), "Network preferences locked by other application."},
      {"service", preferenceSettingError(),
       "Network service with identifier 'eth0' doesn't exist."},
      {"protocol", preferenceSettingError(),
       "IPv6 protocol is not supported by selected network service."},
      {"disable", preferenceSettingError(), nullptr},
      {"apply", preferenceSettingError(), nullptr},
      {"commit", preferenceSettingError(), nullptr},
  };
  const Steps all{"open me/", "lock", "service eth0", "protocol", "disable", "apply", "commit"};
  std::size_t lines = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto& c = cases[i];
    takeSteps(c.step);
    EXPECT_EQ(enable({"me", "eth0", 0}), c.failure) << c.step;
    Steps expected(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    if (i > 1) expected.push_back("unlock");
    if (i > 0) expected.push_back("close");
    EXPECT_EQ(takeSteps(), expected);
    if (!c.line) continue;
    ASSERT_EQ(log.lines().size(), ++lines) << c.step;
    EXPECT_EQ(log.lines().back(), (test::RecordingLog::Line{LogLevel::error, c.line}));
  }
  EXPECT_EQ(log.lines().size(), lines);
}

}  // namespace
}  // namespace qrt
