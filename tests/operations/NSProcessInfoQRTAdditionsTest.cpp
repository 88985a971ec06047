#include "operations/NSProcessInfoQRTAdditions.h"

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

  void plantVersion(const std::string& contents) {
    test::plant(root, "System/Library/CoreServices/SystemVersion.plist", contents);
    updateVersionInfo(platform);
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
  const std::pair<std::string, std::string> cases[] = {
      {"10.7.15", "4223 Mac OS X 10.7.15 polite"},  // 0x107F
      {"10.11.15", "4287 OS X 10.11.15 polite"},
      {"10.12", "4288 macOS 10.12"},
      {".13.2", "4306 macOS .13.2"},
      {"999999999999999999999.1",
       std::to_string(214748364 * 0x1000L + 0x710) + " macOS 999999999999999999999.1"}};
  for (const auto& [version, found] : cases) {
    plantVersion("{ ProductName = \"Name\"; ProductVersion = \"" + version + "\"; }");
    EXPECT_EQ(facts(), found);
  }
  EXPECT_EQ(operatingSystemProductName(platform), "Name");
  for (const char* contents : {"", "( \"10.13\" )", "{ ProductVersion = "}) {
    plantVersion(contents);
    EXPECT_EQ(facts(), "4096   polite") << contents;
  }
}

TEST_F(NSProcessInfo, ProcessesAreFoundByTheNameThatTheKernelKeeps) {
  const auto plantProcess = [&](const std::string& identifier, const std::string& stat) {
    test::plant(root, "proc/" + identifier + "/stat", stat);
    test::plant(root, "proc/" + identifier + "/status", "Name:\tany\nUid:\t7\t502\t8\t9\n");
  };
  plantProcess("31", "31 (worker) S 1 1");
  plantProcess("40", "40 (a-very-long-nam) S 1 1");
  // Damaged; names of other folders.
  plantProcess("9", "worker");
  for (const auto* name : {"7x", "99999999999"}) plantProcess(name, "1 (worker) S");

  using Identifiers = std::vector<std::int32_t>;
  const auto find = identifiersForRunningProcessesNamed;
  EXPECT_EQ(find(platform, "worker"), Identifiers{31});
  EXPECT_EQ(find(platform, "work"), Identifiers());
  EXPECT_EQ(find(platform, "a-very-long-name-indeed"), Identifiers{40});
  EXPECT_EQ(find(platform, ""), std::nullopt);
  std::uint32_t user = 0;
  EXPECT_EQ(processNameForProcessID(platform, 31, &user), "worker");
  EXPECT_EQ(user, 502u);
}

}  // namespace
}  // namespace qrt
