#include "software/QRTBundle.h"

#include <map>

#include "platform/ApplicationRegistry.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"
#include "support/PlatformDouble.h"

namespace qrt {
namespace {

struct FakeRegistry : ApplicationRegistry {
  std::vector<ApplicationURL> urls;

  std::vector<ApplicationURL> applicationURLs(const std::string&) override { return urls; }
  std::optional<Date> dateLastUsed(const std::string&) override { return {}; }
  std::shared_ptr<const SystemBundle> systemBundle(const std::string&) override { return {}; }
};

using Files = std::map<std::string, std::string>;

constexpr const char* contents = "Contents/Info.plist";
constexpr const char* contentsForMacOS = "Contents/Info-macos.plist";
constexpr const char* executable = "{CFBundleExecutable=x;}";
constexpr const char* mainHTML = "{MainHTML=x;}";
constexpr const char* asset = "{MobileAssetProperties={}; CFBundleExecutable=x;}";
constexpr const char* screenSaver =
    "{protocols=(\"com.apple.QuartzComposer.protocol.screensaver\");"
    "CFBundleIdentifier=i; CFBundleShortVersionString=1;}";

class Bundles : public testing::Test {
 protected:
  /// Plants files below a folder of that name and inspects it.
  std::optional<QRTBundle> inspected(const std::string& name, const Files& files) {
    for (const auto& [file, text] : files) {
      test::plant(root, file.empty() ? name : name + "/" + file, text);
    }
    return QRTBundle::initWithPath(root.path(name), platform);
  }

  test::ScratchFolder root;
  FakeRegistry registry;
  NativePlatform native;
  const Platform platform = test::platformWith({.applications = &registry}, native.facilities());
};

TEST_F(Bundles, FilesDecideLayoutAndKind) {
  const auto check = [this](const char* name, const Files& files, int style, int type) {
    SCOPED_TRACE(name);
    const auto bundle = inspected(name, files);
    EXPECT_EQ(bundle ? static_cast<int>(bundle->packageStyle()) : -1, style);
    EXPECT_EQ(bundle ? static_cast<int>(bundle->softwareType()) : 0, type);
  };
  check("A.app", {{contents, executable}}, 0, 1);
  check("B.app", {{contentsForMacOS, executable}}, 3, 1);
  check("D.app", {{"Resources/Info.plist", executable}}, 1, 0);
  check("G.app", {{"Info.plist", executable}}, -1, 0);
  check("A.wdgt", {{"Info.plist", mainHTML}}, 2, 2);
  check("A.saver", {{contents, "{}"}}, 0, 3);
  check("B.saver", {{contentsForMacOS, "{}"}}, 3, 0);
  check("A.qtz", {{"", screenSaver}}, 5, 3);
  check("B.qtz", {{"", "{protocols=(other);}"}}, 5, 0);
  check("A.prefPane", {{contents, executable}}, 0, 4);
  check("A.component", {{contentsForMacOS, executable}}, 3, 5);
  check("Internet Plug-Ins/A.plugin", {{contents, "{}"}}, 0, 6);
  check("Internet Plug-Ins/sub/A.plugin", {{contents, "{}"}}, 0, 0);
  check("A.asset", {{"Info.plist", asset}, {"AssetData/x", ""}, {"META-INF", ""}}, 2, 7);
  check("B.asset", {{"Info.plist", asset}, {"META-INF", ""}}, 2, 0);
  check("nothing.app", {}, -1, 0);
}

TEST_F(Bundles, AnExecutableIsAFileInItsPlace) {
  const auto check = [this](const char* name, const Files& files, const char* wanted) {
    const auto found = inspected(name, files)->executablePath();
    EXPECT_EQ(found.value_or("none"), wanted ? root.path(name) + wanted : "none") << name;
  };
  const char* const widget = "{MainHTML=x; Plugin=\"p.plugin\";}";
  check("A.app", {{contents, executable}, {"Contents/MacOS/x", ""}}, "/Contents/MacOS/x");
  check("B.app", {{contents, executable}}, nullptr);
  check("C.app", {{contents, executable}, {"Contents/MacOS/x/y", ""}}, nullptr);
  check("F.x", {{contents, "{CFBundleExecutable=\"x\\0\";}"}, {"Contents/MacOS/x", ""}}, nullptr);
  check("G.x", {{"Resources/Info.plist", executable}, {"MacOS/x", ""}}, "/MacOS/x");
  check("A.wdgt",
        {{"Info.plist", widget},
         {"p.plugin/Contents/Info.plist", executable},
         {"p.plugin/Contents/MacOS/x", ""}},
        "/p.plugin/Contents/MacOS/x");
  check("C.wdgt", {{"Info.plist", "{MainHTML=x; Plugin=\".\";}"}, {"MacOS/x", ""}}, nullptr);
}

TEST_F(Bundles, TheHighestInstalledVersionCounts) {
  const std::pair<const char*, const char*> applications[] = {
      {"A.app", "CFBundleShortVersionString=\"2.1.3\"; CFBundleGetInfoString=\"9.5 words\";"},
      {"B.app", "CFBundleShortVersionString=\"\"; CFBundleVersion=\"2.5\";"},
      {"C.app", ""}};
  const auto highest = QRTBundle::versionNumberForApplicationWithIdentifier;
  EXPECT_EQ(highest("org.example", platform), 0);
  for (const auto& [name, info] : applications) {
    inspected(name, {{contents, std::string("{CFBundleExecutable=x;") + info + "}"}});
    registry.urls.push_back({"file", root.path(name)});
  }
  EXPECT_EQ(highest("org.example", platform), 2.5f);
  EXPECT_EQ(highest("com.apple.Safari", platform), 9.5f);
  EXPECT_DOUBLE_EQ(QRTBundle::versionNumberFromString("Version 2.1.3 (45)"), 2.13);
}

}  // namespace
}  // namespace qrt
