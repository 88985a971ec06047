#include "contract/ContractTest.h"
#include "platform/KernelSettings.h"
#include "platform/Nvram.h"
#include "platform/Preferences.h"
#include "platform/SMCExchange.h"
#include "platform/SystemConfiguration.h"

namespace qrt {
namespace {

using Kind = PreferenceSelector::Kind;

using SettingsContract = test::ContractTest;

TEST_F(SettingsContract, PreferencesTakeEveryKindOfValue) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  auto& preferences = sealedPlatform().preferences;
  const PreferenceDomain domain{test::uniqueName(), {Kind::current}, {Kind::any}};
  const Dictionary everything{{"text", "ä"},    {"yes", true},          {"number", -1},
                              {"real", 0.5},    {"large", UINT64_MAX},  {"data", Data{0, 255}},
                              {"date", Date{}}, {"list", Array{1, "a"}}};
  EXPECT_TRUE(preferences.setValue(domain, "key", everything));
  EXPECT_TRUE(preferences.setValue(domain, "key", std::nullopt));
  EXPECT_TRUE(preferences.setValue(domain, "never there", std::nullopt));
  EXPECT_FALSE(preferences.setValue(domain, "key", "no text: \xFF"));
}

TEST_F(SettingsContract, ConfigurationsAreChangedUnderTheLock) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  const auto name = test::uniqueName() + ".plist";
  const auto preferences = sealedPlatform().systemConfiguration.open("contract test", name);
  ASSERT_TRUE(preferences);
  ASSERT_TRUE(preferences->lock());
  EXPECT_TRUE(preferences->setValue("key", Dictionary{{"inner", 1}}));
  EXPECT_TRUE(preferences->commitChanges());
  EXPECT_TRUE(preferences->removeValue("key"));
  EXPECT_FALSE(preferences->removeValue("key"));
  EXPECT_TRUE(preferences->commitChanges());
  preferences->unlock();
  EXPECT_FALSE(preferences->networkService("no such service"));
  unlink(("/Library/Preferences/SystemConfiguration/" + name).c_str());
}

TEST_F(SettingsContract, AMissingKernelSettingIsNoEntry) {
  for (const char* name : {"", "no.such.setting"}) {
    EXPECT_EQ(platform().kernelSettings.write(name, 0), PosixCode::noEntry) << name;
  }
}

TEST_F(SettingsContract, AMissingFirmwareVariableHasNoValue) {
  const auto options = platform().nvram.options();
  ASSERT_TRUE(options);
  if (!*options) return;  // No variables on this computer, and it says so.
  EXPECT_FALSE(*(*options)->value(test::uniqueName()));
}

TEST_F(SettingsContract, TheControllerKnowsItsFirstKeyByName) {
  SMCParameterRecord question, answer;
  question.command = smc_command::keyAtIndex;
  const auto code = platform().smc.callSMC(question, answer);
  if (code == KernelReturn::error) return;  // No such controller, and it says so.
  ASSERT_EQ(code, KernelReturn::noError);
  const std::pair<std::uint32_t, std::uint8_t> keys[] = {{answer.key, smc_result::success},
                                                         {0x21212121, smc_result::keyNotFound}};
  question.command = smc_command::keyInfo;
  for (const auto& [key, result] : keys) {
    question.key = key;
    EXPECT_EQ(platform().smc.callSMC(question, answer), KernelReturn::noError);
    EXPECT_EQ(answer.result, result);
  }
}

}  // namespace
}  // namespace qrt
