#include "contract/ContractTest.h"
#include "platform/Preferences.h"
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

}  // namespace
}  // namespace qrt
