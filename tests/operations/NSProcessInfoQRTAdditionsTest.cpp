#include "operations/NSProcessInfoQRTAdditions.h"

#include <atomic>
#include <thread>

#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using namespace NSProcessInfoQRTAdditions;

class NSProcessInfo : public testing::Test {
 protected:
  const test::ScratchFolder root;
  const NativePlatform native{root.path() + "/"};
  const Platform& platform = native.facilities();

  void plantVersionFile(const std::string& contents) {
    test::plant(root, "System/Library/CoreServices/SystemVersion.plist", contents);
  }
  void plantVersion(const std::string& version) {
    plantVersionFile("{ ProductName = \"Name\"; ProductVersion = \"" + version +
                     "\"; ProductBuildVersion = \"17G65\"; }");
  }
  /// Code, marketing name, version and polite forms.
  std::string facts() {
    return std::to_string(operatingSystemVersionCode(platform)) + " " +
           operatingSystemMarketingName(platform) + " " +
           operatingSystemVersionNumberString(platform) +
           (shouldUIUsePoliteForms(platform) ? " polite" : "");
  }
};

TEST_F(NSProcessInfo, AVersionHasACodeAndAName) {
  const std::pair<const char*, std::string> cases[] = {
      {"10.7.15", "4223 Mac OS X 10.7.15 polite"},  // 0x107F
      {"10.8", "4224 OS X 10.8 polite"},
      {"10.11.15", "4287 OS X 10.11.15 polite"},
      {"10.12", "4288 macOS 10.12"},
      {"10.16", "4352 macOS 10.16"},
      {"12.3.1", "4657 macOS 12.3.1"},
      {".13.2", "4306 macOS .13.2"},
      {"", "4096 Mac OS X  polite"},
      {"999999999999999999999.1",
       std::to_string(214748364 * 0x1000L + 0x710) + " macOS 999999999999999999999.1"}};
  for (const auto& [version, found] : cases) {
    plantVersion(version);
    updateVersionInfo(platform);
    EXPECT_EQ(facts(), found);
  }
  EXPECT_EQ(operatingSystemProductName(platform), "Name");
  EXPECT_EQ(operatingSystemBuildCode(platform), "17G65");

  for (const char* contents : {"", "{}", "( \"10.13\" )", "{ ProductVersion = "}) {
    plantVersionFile(contents);
    updateVersionInfo(platform);
    EXPECT_EQ(facts(), "4096   polite") << contents;
    EXPECT_EQ(operatingSystemProductName(platform) + operatingSystemBuildCode(platform), "");
  }
}

TEST_F(NSProcessInfo, ThreadsSeeCompleteFactsDuringAnUpdate) {
  plantVersion("10.13");
  updateVersionInfo(platform);
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        if (round % 10 == 0) updateVersionInfo(platform);
        wrong += facts() != "4304 macOS 10.13";
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(NSProcessInfo, ProcessesAreFoundByTheNameThatTheKernelKeeps) {
  EXPECT_EQ(identifiersForRunningProcessesNamed(platform, "init"), std::nullopt);
  EXPECT_FALSE(isProcessRunningWithName(platform, "init"));
  EXPECT_EQ(processNameForProcessID(platform, 1), std::nullopt);

  const auto plantProcess = [&](const std::string& identifier, const std::string& stat) {
    test::plant(root, "proc/" + identifier + "/stat", stat);
    test::plant(root, "proc/" + identifier + "/status", "Name:\tany\nUid:\t7\t502\t8\t9\n");
  };
  plantProcess("1", "1 (init) S 1 1");
  plantProcess("30", "30 (worker) S 1 1");
  plantProcess("31", "31 (worker) S 1 1");
  plantProcess("40", "40 (a-very-long-nam) S 1 1");
  // Ended before its status was read; damaged; names of other folders.
  test::plant(root, "proc/8/stat", "8 (worker) S");
  plantProcess("9", "worker");
  for (const auto* name : {"7x", "self", "99999999999"}) plantProcess(name, "1 (worker) S");

  using Identifiers = std::vector<std::int32_t>;
  const std::pair<const char*, std::optional<Identifiers>> cases[] = {
      {"worker", Identifiers{30, 31}},   {"Worker", Identifiers()},
      {"work", Identifiers()},           {"a-very-long-name-indeed", Identifiers{40}},
      {"a-very-long-na", Identifiers()}, {"", std::nullopt}};
  for (const auto& [name, identifiers] : cases) {
    auto found = identifiersForRunningProcessesNamed(platform, name);
    if (found) std::sort(found->begin(), found->end());
    EXPECT_EQ(found, identifiers) << name;
  }
  EXPECT_TRUE(isProcessRunningWithName(platform, "init"));
  EXPECT_FALSE(isProcessRunningWithName(platform, "absent"));
  std::uint32_t user = 0;
  EXPECT_EQ(processNameForProcessID(platform, 31, &user), "worker");
  EXPECT_EQ(user, 502u);
  EXPECT_EQ(processNameForProcessID(platform, 99), std::nullopt);
}

}  // namespace
}  // namespace qrt
