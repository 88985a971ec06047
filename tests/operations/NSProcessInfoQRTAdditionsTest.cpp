#include "operations/NSProcessInfoQRTAdditions.h"

#include <atomic>
#include <thread>

#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using namespace NSProcessInfoQRTAdditions;

constexpr const char* versionFile = "System/Library/CoreServices/SystemVersion.plist";

std::string versionFileFor(const std::string& version) {
  return "{ ProductName = \"Name\"; ProductVersion = \"" + version +
         "\"; ProductBuildVersion = \"17G65\"; }";
}

class NSProcessInfo : public testing::Test {
 protected:
  const test::ScratchFolder root;
  const NativePlatform native{root.path() + "/"};
  const Platform& platform = native.facilities();

  void plantAndUpdate(const std::string& contents) {
    test::plant(root, versionFile, contents);
    updateVersionInfo(platform);
  }
  void plantProcess(const std::string& identifier, const std::string& stat, int effectiveUser) {
    const auto folder = "proc/" + identifier;
    test::plant(root, folder + "/stat", stat);
    test::plant(root, folder + "/status",
                "Name:\tany\nUid:\t7\t" + std::to_string(effectiveUser) + "\t8\t9\n");
  }
};

TEST_F(NSProcessInfo, CodesAndNamesOfVersions) {
  const auto check = [this](const char* version, std::int64_t code, const char* name, bool polite) {
    SCOPED_TRACE(version);
    plantAndUpdate(versionFileFor(version));
    EXPECT_EQ(operatingSystemVersionCode(platform), code);
    EXPECT_EQ(operatingSystemMarketingName(platform), name);
    EXPECT_EQ(shouldUIUsePoliteForms(platform), polite);
    EXPECT_EQ(operatingSystemVersionNumberString(platform), version);
  };
  check("10.7.15", 0x107F, "Mac OS X", true);
  check("10.8", 0x1080, "OS X", true);
  check("10.11.15", 0x10BF, "OS X", true);
  check("10.12", 4288, "macOS", false);
  check("10.16", 0x1100, "macOS", false);
  check("12.3.1", 0x1231, "macOS", false);
  check(".13.2", 0x10D2, "macOS", false);
  check("", 0x1000, "Mac OS X", true);
  // Numbers end at 2147483647.
  check("999999999999999999999.1", 214748364 * 0x1000L + 7 * 0x100 + 0x10, "macOS", false);
  EXPECT_EQ(operatingSystemProductName(platform), "Name");
  EXPECT_EQ(operatingSystemBuildCode(platform), "17G65");
}

TEST_F(NSProcessInfo, WithoutFactsTextsArePolite) {
  for (const char* contents : {"", "{}", "( \"10.13\" )", "{ ProductVersion = "}) {
    SCOPED_TRACE(contents);
    plantAndUpdate(versionFileFor("10.13"));
    plantAndUpdate(contents);
    EXPECT_EQ(operatingSystemVersionCode(platform), 4096);
    EXPECT_EQ(operatingSystemProductName(platform), "");
    EXPECT_EQ(operatingSystemMarketingName(platform), "");
    EXPECT_EQ(operatingSystemVersionNumberString(platform), "");
    EXPECT_EQ(operatingSystemBuildCode(platform), "");
    EXPECT_TRUE(shouldUIUsePoliteForms(platform));
  }
  unlink(root.path(versionFile).c_str());
  updateVersionInfo(platform);
  EXPECT_EQ(operatingSystemVersionCode(platform), 4096);
}

TEST_F(NSProcessInfo, FirstUseByManyThreadsIsReadByTheFirst) {
  test::plant(root, versionFile, versionFileFor("10.13"));
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        if (round % 10 == 0) updateVersionInfo(platform);
        wrong += operatingSystemVersionCode(platform) != 0x10D0;
        wrong += operatingSystemBuildCode(platform) != "17G65";
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(NSProcessInfo, ProcessesAreFoundByNameAsFarAsTheKernelKeepsIt) {
  plantProcess("1", "1 (init) S 1 1", 0);
  plantProcess("30", "30 (worker) S 1 1", 501);
  plantProcess("31", "31 (worker) S 1 1", 502);
  plantProcess("40", "40 (a-very-long-nam) S 1 1", 0);
  // Ended before its status was read, damaged, and what is no process at all.
  test::plant(root, "proc/8/stat", "8 (worker) S");
  plantProcess("9", "worker", 0);
  for (const auto* name : {"7x", "self", "99999999999"}) plantProcess(name, "1 (worker) S", 0);
  using Identifiers = std::vector<std::int32_t>;
  const auto named = [&](const std::string& name) {
    auto found = identifiersForRunningProcessesNamed(platform, name);
    if (found) std::sort(found->begin(), found->end());
    return found;
  };
  EXPECT_EQ(named("worker"), (Identifiers{30, 31}));
  EXPECT_EQ(named("Worker"), Identifiers());
  EXPECT_EQ(named("work"), Identifiers());
  EXPECT_EQ(named("a-very-long-name-indeed"), Identifiers{40});
  EXPECT_EQ(named("a-very-long-na"), Identifiers());
  EXPECT_EQ(named(""), std::nullopt);
  EXPECT_TRUE(isProcessRunningWithName(platform, "init"));
  EXPECT_FALSE(isProcessRunningWithName(platform, "absent"));

  std::uint32_t user = 0;
  EXPECT_EQ(processNameForProcessID(platform, 31, &user), "worker");
  EXPECT_EQ(user, 502u);
  EXPECT_EQ(processNameForProcessID(platform, 99), std::nullopt);
}

TEST_F(NSProcessInfo, AProcessTableThatCannotBeReadAnswersNothing) {
  EXPECT_EQ(identifiersForRunningProcessesNamed(platform, "init"), std::nullopt);
  EXPECT_FALSE(isProcessRunningWithName(platform, "init"));
  EXPECT_EQ(processNameForProcessID(platform, 1), std::nullopt);
}

}  // namespace
}  // namespace qrt
