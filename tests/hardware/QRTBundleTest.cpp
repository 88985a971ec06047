#include "hardware/QRTBundle.h"

#include <functional>
#include <map>

#include "platform/ApplicationRegistry.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"
#include "support/PlatformDouble.h"

namespace qrt {
namespace {

/// A registry that a test fills.
class FakeRegistry : public ApplicationRegistry {
 public:
  std::vector<ApplicationURL> urls;
  std::optional<Date> date;
  std::shared_ptr<const SystemBundle> bundle = std::make_shared<SystemBundle>();

  std::vector<ApplicationURL> applicationURLs(const std::string& identifier) override {
    return identifier == "org.example.absent" ? std::vector<ApplicationURL>() : urls;
  }
  std::optional<Date> dateLastUsed(const std::string&) override { return date; }
  std::shared_ptr<const SystemBundle> systemBundle(const std::string&) override { return bundle; }
};

class Bundles : public testing::Test {
 protected:
  /// Plants files below a folder of that name and inspects it.
  std::optional<QRTBundle> inspected(const std::string& name,
                                     const std::map<std::string, std::string>& files) {
    for (const auto& [file, contents] : files) {
      test::plant(root, file.empty() ? name : name + "/" + file, contents);
    }
    return QRTBundle::initWithPath(root.path(name), platform);
  }
  std::string made(const std::string& name) {
    EXPECT_TRUE(test::run({"mkdir", "-p", root.path(name)}));
    return root.path(name);
  }

  test::ScratchFolder root;
  FakeRegistry registry;
  NativePlatform native;

  const Platform platform = test::platformWith({.applications = &registry}, native.facilities());
};

constexpr const char* executable = "{CFBundleExecutable=x;}";
constexpr const char* screenSaver =
    "{protocols=(\"com.apple.QuartzComposer.protocol.screensaver\");"
    "CFBundleIdentifier=i; CFBundleShortVersionString=1;}";

TEST_F(Bundles, LayoutAndKind) {
  struct Case {
    const char* name;
    std::map<std::string, std::string> files;
    int style, type;
  };
  const std::string contents = "Contents/Info.plist";
  const std::string contentsForMacOS = "Contents/Info-macos.plist";
  for (const auto& c : {
           Case{"A.app", {{contents, executable}}, 0, 1},
           Case{"B.app", {{contentsForMacOS, executable}}, 3, 1},
           Case{"C.app", {{contents, "{}"}}, 0, 0},
           Case{"D.app", {{"Resources/Info.plist", executable}}, 1, 0},
           Case{"F.app", {{contents, executable}, {"Info.plist", "{MainHTML=x;}"}}, 0, 1},
           Case{"G.app", {{"Info.plist", executable}}, -1, 0},
           Case{"A.wdgt", {{"Info.plist", "{MainHTML=x;}"}}, 2, 2},
           Case{"B.wdgt", {{contents, executable}}, 0, 0},
           Case{"A.saver", {{contents, "{}"}}, 0, 3},
           Case{"B.saver", {{contentsForMacOS, "{}"}}, 3, 0},
           Case{"A.qtz", {{"", screenSaver}}, 5, 3},
           Case{"B.qtz", {{"", "{protocols=(other);}"}}, 5, 0},
           Case{"C.qtz", {{"", "no property list <"}}, 5, 0},
           Case{"D.qtz", {{contents, screenSaver}}, 0, 0},
           Case{"A.prefPane", {{contents, executable}}, 0, 4},
           Case{"B.prefPane", {{contentsForMacOS, executable}}, 3, 0},
           Case{"A.component", {{contentsForMacOS, executable}}, 3, 5},
           Case{"B.component", {{contents, "()"}}, 0, 0},
           Case{"Internet Plug-Ins/A.plugin", {{contents, "{}"}}, 0, 6},
           Case{"Internet Plug-Ins/A.component", {{contents, executable}}, 0, 5},
           Case{"Internet Plug-Ins/sub/A.plugin", {{contents, "{}"}}, 0, 0},
           Case{"A.asset",
                {{"Info.plist", "{MobileAssetProperties={};}"},
                 {"AssetData/x", ""},
                 {"META-INF", ""}},
                2,
                7},
           Case{"B.asset", {{"Info.plist", "{MobileAssetProperties={};}"}, {"META-INF", ""}}, 2, 0},
       }) {
    SCOPED_TRACE(c.name);
    const auto bundle = inspected(c.name, c.files);
    EXPECT_EQ(bundle ? static_cast<int>(bundle->packageStyle()) : -1, c.style);
    EXPECT_EQ(bundle ? static_cast<int>(bundle->softwareType()) : 0, c.type);
  }
  EXPECT_FALSE(QRTBundle::initWithPath("", platform));
  EXPECT_FALSE(QRTBundle::initWithPath(root.path("nothing.app"), platform));
  const auto slash = QRTBundle::initWithPath(root.path("A.app") + "/", platform);
  ASSERT_TRUE(slash);
  EXPECT_EQ(slash->softwareType(), SoftwareType::application);
}

TEST_F(Bundles, PathsInside) {
  const auto application = inspected("A.app", {{"Contents/Info.plist", executable}});
  EXPECT_EQ(application->resourcesPath(), root.path("A.app/Contents/Resources"));
  EXPECT_EQ(application->infoDictionaryPath(), root.path("A.app/Contents/Info.plist"));
  EXPECT_EQ(application->nonLocalizedName(), "A");
  const auto flat = inspected("B.x", {{"Resources/Info.plist", executable}});
  EXPECT_EQ(flat->contentsPath(), root.path("B.x"));
  EXPECT_EQ(flat->resourcesPath(), root.path("B.x/Resources"));
  const auto widget = inspected("C.wdgt", {{"Info.plist", "{MainHTML=x;}"}});
  EXPECT_EQ(widget->resourcesPath(), root.path("C.wdgt"));

  // They follow what becomes of the file.
  ASSERT_EQ(unlink(root.path("A.app/Contents/Info.plist").c_str()), 0);
  EXPECT_FALSE(application->infoDictionaryPath() || application->infoDictionary());
  made("A.app/Contents/Info.plist");
  EXPECT_FALSE(application->infoDictionaryPath());
  const auto path = QRTBundle::infoPathForBundlePath;
  EXPECT_FALSE(path("/a.b", static_cast<PackageStyle>(5)));
  EXPECT_FALSE(path("/a.qtz", static_cast<PackageStyle>(6)));
  EXPECT_FALSE(path("", static_cast<PackageStyle>(0)));
}

TEST_F(Bundles, Localizations) {
  const auto bundle =
      inspected("A.app", {{"Contents/Info.plist", "{CFBundleDevelopmentRegion=de;}"},
                          {"Contents/Resources/zh-Hant.lproj/x", ""},
                          {"Contents/Resources/Base.lproj/x", ""},
                          {"Contents/Resources/x.LPROJ/x", ""},
                          {"Contents/Resources/other.txt", ""}});
  EXPECT_EQ(bundle->namesOfActiveLocalizations(), std::vector<std::string>{"zh-Hant"});
  EXPECT_EQ(bundle->developmentLocalization(), "de");
  const auto plain = inspected("B.app", {{"Contents/Info.plist", "{}"}});
  EXPECT_TRUE(plain->namesOfActiveLocalizations().empty());
  EXPECT_FALSE(plain->developmentLocalization());
}

TEST_F(Bundles, Executables) {
  const auto info = [](const char* name) {
    return std::pair<std::string, std::string>("Contents/Info.plist",
                                               std::string("{CFBundleExecutable=") + name + ";}");
  };
  const std::pair<std::string, std::string> program("Contents/MacOS/x", ""),
      widget("Info.plist", "{MainHTML=x; Plugin=\"p.plugin\";}"),
      asset("Info.plist", "{MobileAssetProperties={}; CFBundleExecutable=x;}");
  const std::string plugIn = "p.plugin/";
  const struct {
    const char* name;
    std::map<std::string, std::string> files;
    const char* executable;
  } cases[] = {
      {"A.app", {info("x"), program}, "Contents/MacOS/x"},
      {"B.app", {info("x")}, nullptr},
      {"C.app", {info("x"), {"Contents/MacOS/x/y", ""}}, nullptr},
      {"D.x", {info("\"\""), program}, nullptr},
      {"E.x", {info("(x)"), program}, nullptr},
      {"F.x", {info("\"x\\0\""), program}, nullptr},
      {"G.x", {{"Resources/Info.plist", executable}, {"MacOS/x", ""}}, "MacOS/x"},
      {"A.wdgt",
       {widget, {plugIn + "Contents/Info.plist", executable}, {plugIn + "Contents/MacOS/x", ""}},
       "p.plugin/Contents/MacOS/x"},
      {"B.wdgt", {widget, {"MacOS/x", ""}}, nullptr},
      {"C.wdgt", {{"Info.plist", "{MainHTML=x; Plugin=\".\";}"}, {"MacOS/x", ""}}, nullptr},
      {"A.asset", {asset, {"AssetData/x", ""}, {"META-INF/x", ""}, {"MacOS/x", ""}}, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto bundle = inspected(c.name, c.files);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->executablePath(),
              c.executable ? std::optional(bundle->bundlePath() + "/" + std::string(c.executable))
                           : std::nullopt);
  }
}

TEST_F(Bundles, WhatApplicationsHave) {
  const std::map<std::string, std::string> files = {
      {"Contents/Info.plist", "{CFBundleExecutable=x; NSServices=({a=b;});}"},
      {"Contents/Resources/de.lproj/MRJApp.properties", ""},
      {"Contents/PlugIns/a_support.bundle/Contents/Info.plist", "{CFBundleIdentifier=other;}"},
      {"Contents/PlugIns/b_support.bundle/Contents/Info.plist",
       "{CFBundleIdentifier=\"com.runrev.x\";}"}};
  const auto application = inspected("A.app", files);
  EXPECT_EQ(application->servicesEntries(), (Array{Dictionary{{"a", "b"}}}));
  EXPECT_TRUE(application->isMRJApplication() && application->isRevolutionApplication());

  const std::map<std::string, std::string> plain = {{"Contents/Info.plist", executable},
                                                    {"Contents/PlugIns/a_support.bundle/x", ""}};
  for (const auto& other : {inspected("A.component", files), inspected("B.app", plain)}) {
    EXPECT_TRUE(other->servicesEntries().empty());
    EXPECT_FALSE(other->isMRJApplication() || other->isRevolutionApplication());
  }
}

TEST_F(Bundles, Signatures) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"A.app", "_CodeSignature/CodeResources", true},
      {"B.app", "Contents/CodeResources", true},
      {"C.app", "Contents/_CodeSignature/CodeResources", false},
      {"D.app", "_CodeSignature/CodeResources/x", false}};
  for (const auto& [name, seal, isSigned] : cases) {
    const auto bundle = inspected(name, {{"Contents/Info.plist", executable}, {seal, ""}});
    EXPECT_EQ(bundle->isCodesigned(), isSigned) << seal;
  }
}

TEST_F(Bundles, OrderAndDescription) {
  registry.date = Date{1614834367.9};
  const auto mail = inspected("x/mail.app", {{"Contents/Info.plist", executable}});
  const auto other = inspected("a/Mail.app", {{"Contents/Info.plist", executable}});
  const auto zip =
      inspected("a/ZIP.app", {{"Contents/Info.plist",
                               "{CFBundleExecutable=x; CFBundleShortVersionString=\"1.2\"; "
                               "CFBundleVersion=345; CFBundleIdentifier=i;}"}});
  EXPECT_TRUE(mail->compare(&*other) == 0 && mail->compare(&*zip) < 0);
  EXPECT_TRUE(zip->compare(&*mail) > 0 && mail->compare(nullptr) > 0);
  EXPECT_EQ(mail->systemBundle(), registry.bundle);
  EXPECT_EQ(mail->description(),
            "QRTBundle: '" + mail->bundlePath() +
                "' style: 0 type: 1 version: '(null)' identifier: '(null)' last used: "
                "2021-03-04 05:06:07 +0000\n");
  EXPECT_NE(zip->description().find("version: '1.2 (345)' identifier: 'i'"), std::string::npos);
  registry.date = Date{-1e300};
  EXPECT_NE(inspected("x/mail.app", {})->description().find("used: -32767-01-01 00:00:00"),
            std::string::npos);
}

TEST_F(Bundles, InstalledVersions) {
  const std::pair<const char*, const char*> applications[] = {
      {"A.app", "CFBundleShortVersionString=\"2.1.3\"; CFBundleGetInfoString=\"9.5 words\";"},
      {"B.app", "CFBundleShortVersionString=\"\"; CFBundleVersion=\"2.5\";"},
      {"C.app", ""},
      {"D.bundle", "CFBundleShortVersionString=99;"},
      {"D.app", "CFBundleVersion=88;"}};
  for (const auto& [name, info] : applications) {
    inspected(name, {{"Contents/Info.plist", std::string("{CFBundleExecutable=x;") + info + "}"}});
    registry.urls.push_back({name == std::string("D.app") ? "http" : "file", root.path(name)});
  }
  registry.urls.push_back({"file", ""});
  const auto highest = [&](const char* identifier) {
    return QRTBundle::versionNumberForApplicationWithIdentifier(identifier, platform);
  };
  EXPECT_DOUBLE_EQ(QRTBundle::versionNumberFromString("Version 2.1.3 (45)"), 2.13);
  EXPECT_EQ(highest("org.example"), 2.5f);
  EXPECT_EQ(highest("com.apple.Safari"), 9.5f);
  EXPECT_EQ(highest("org.example.absent"), 0);
  EXPECT_EQ(highest(""), 0);
}

TEST_F(Bundles, HostileOnesGetAnAnswer) {
  using Plant = std::function<int(const char* info)>;
  const auto linkTo = [](const char* target) {
    return Plant([=](auto info) { return symlink(target, info); });
  };
  const auto holding = [](const std::string& contents, off_t size = 0) {
    return Plant([=](auto info) {
      std::ofstream(info, std::ios::binary) << contents;
      return size == 0 ? 0 : truncate(info, size);
    });
  };
  const std::tuple<const char*, Plant, bool> cases[] = {
      {"loop.app", linkTo("Info.plist"), false},
      {"up.app", linkTo(".."), false},
      {"fifo.app", [](auto info) { return mkfifo(info, 0600); }, true},
      {"zero.app", linkTo("/dev/zero"), true},
      {"huge.app", holding("{", off_t{1} << 32), true},
      {"deep.app", holding(std::string(1 << 20, '(')), true},
      {"wide.app", holding("(" + std::string(8 << 20, ',')), true},
      {"cut.app", holding("bplist00"), true},
      {"empty.app", holding(""), true},
  };
  for (const auto& [name, plant, isBundle] : cases) {
    SCOPED_TRACE(name);
    const auto path = made(name);
    made(std::string(name) + "/Contents/Resources");
    ASSERT_EQ(plant((path + "/Contents/Info.plist").c_str()), 0);
    const auto bundle = QRTBundle::initWithPath(path, platform);
    ASSERT_EQ(bundle.has_value(), isBundle);
    if (!bundle) continue;
    EXPECT_EQ(bundle->softwareType(), SoftwareType::other);
    EXPECT_FALSE(bundle->infoDictionary() || bundle->executablePath());
    EXPECT_TRUE(bundle->servicesEntries().empty());
  }
  EXPECT_FALSE(QRTBundle::initWithPath(std::string("/bin\0.app", 9), platform));
  EXPECT_FALSE(QRTBundle::initWithPath("/" + std::string(1 << 20, 'x'), platform));

  // A widget that holds itself.
  const auto widget = inspected(
      "self.wdgt", {{"Info.plist", "{MainHTML=x; Plugin=\"a/a/a/a\"; CFBundleExecutable=x;}"}});
  root.link("self.wdgt/a", ".");
  EXPECT_FALSE(widget->executablePath());
}

}  // namespace
}  // namespace qrt
