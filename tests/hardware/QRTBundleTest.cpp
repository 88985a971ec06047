#include "hardware/QRTBundle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "platform/ApplicationRegistry.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"

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

  const Platform& real = native.facilities();
  const Platform platform{.log = real.log,
                          .self = real.self,
                          .files = real.files,
                          .propertyLists = real.propertyLists,
                          .versionFile = real.versionFile,
                          .processes = real.processes,
                          .kernelSettings = real.kernelSettings,
                          .subprocesses = real.subprocesses,
                          .jobControl = real.jobControl,
                          .preferences = real.preferences,
                          .systemConfiguration = real.systemConfiguration,
                          .authority = real.authority,
                          .transport = real.transport,
                          .helperConnector = real.helperConnector,
                          .smc = real.smc,
                          .nvram = real.nvram,
                          .blockDevices = real.blockDevices,
                          .applications = registry};
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
           Case{"E.app", {{"Resources/Info-macos.plist", executable}}, 4, 0},
           Case{"F.app", {{contents, executable}, {"Info.plist", "{MainHTML=x;}"}}, 0, 1},
           Case{"G.app", {{"Info.plist", executable}}, -1, 0},
           Case{"H.app", {{"Contents/info.txt", executable}}, -1, 0},
           Case{"A.wdgt", {{"Info.plist", "{MainHTML=x;}"}}, 2, 2},
           Case{"B.wdgt", {{contents, executable}}, 0, 0},
           Case{"A.saver", {{contents, "{}"}}, 0, 3},
           Case{"A.slideSaver", {{contents, "{}"}}, 0, 3},
           Case{"B.saver", {{contentsForMacOS, "{}"}}, 3, 0},
           Case{"A.qtz", {{"", screenSaver}}, 5, 3},
           Case{"B.qtz", {{"", "{protocols=(other);}"}}, 5, 0},
           Case{"C.qtz", {{"", "no property list <"}}, 5, 0},
           Case{"D.qtz", {{contents, screenSaver}}, 0, 0},
           Case{"A.txt", {{"", screenSaver}}, -1, 0},
           Case{"A.prefPane", {{contents, executable}}, 0, 4},
           Case{"B.prefPane", {{contentsForMacOS, executable}}, 3, 0},
           Case{"A.component", {{contentsForMacOS, executable}}, 3, 5},
           Case{"B.component", {{contents, "()"}}, 0, 0},
           Case{"Internet Plug-Ins/A.plugin", {{contents, "{}"}}, 0, 6},
           Case{"Internet Plug-Ins/A.component", {{contents, executable}}, 0, 5},
           Case{"Internet Plug-Ins/B.component", {{contents, "{}"}}, 0, 6},
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

TEST_F(Bundles, InfoPathsOfStyles) {
  struct Case {
    const char* bundle;
    int style;
    const char* path;
  };
  for (const auto& c :
       {Case{"/a.b", 0, "/a.b/Contents/Info.plist"}, Case{"/a.b", 1, "/a.b/Resources/Info.plist"},
        Case{"/a.b", 2, "/a.b/Info.plist"}, Case{"/a.b", 3, "/a.b/Contents/Info-macos.plist"},
        Case{"/a.b", 4, "/a.b/Resources/Info-macos.plist"}, Case{"/a.qtz", 5, "/a.qtz"},
        Case{"/a.b", 5, nullptr}, Case{"/a.qtz", 6, nullptr}, Case{"/a.b", -1, nullptr},
        Case{"", 0, nullptr}}) {
    const auto path =
        QRTBundle::infoPathForBundlePath(c.bundle, static_cast<PackageStyle>(c.style));
    EXPECT_EQ(path, c.path ? std::optional<std::string>(c.path) : std::nullopt);
  }
}

TEST_F(Bundles, VersionAndIdentifier) {
  struct Case {
    const char* name;
    const char* info;
    std::optional<std::string> version, identifier;
  };
  for (const auto& c : {
           Case{"a.x",
                "{CFBundleShortVersionString=\"1.2\"; CFBundleVersion=345;}",
                "1.2 (345)",
                {}},
           Case{"b.x", "{CFBundleShortVersionString=1; CFBundleVersion=1;}", "1", {}},
           Case{"c.x", "{CFBundleShortVersionString=1; CFBundleIdentifier=\"org.x\";}", "1",
                "org.x"},
           Case{"d.x", "{CFBundleVersion=345;}", {}, {}},
           Case{"e.x", "{CFBundleShortVersionString=(1); CFBundleIdentifier={};}", {}, {}},
       }) {
    const auto bundle = inspected(c.name, {{"Contents/Info.plist", c.info}});
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->versionString(), c.version) << c.info;
    EXPECT_EQ(bundle->bundleIdentifier(), c.identifier) << c.info;
  }
  const auto saver = inspected("s.qtz", {{"", screenSaver}});
  EXPECT_EQ(saver->versionString(), "");
  EXPECT_EQ(saver->bundleIdentifier(), "");
  const auto other = inspected("o.qtz", {{"",
                                          "{CFBundleIdentifier=i; "
                                          "CFBundleShortVersionString=1;}"}});
  EXPECT_EQ(other->versionString(), "1");
  EXPECT_EQ(other->bundleIdentifier(), "i");
}

TEST_F(Bundles, PathsInside) {
  const auto application = inspected("A.app", {{"Contents/Info.plist", executable}});
  EXPECT_EQ(application->contentsPath(), root.path("A.app/Contents"));
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
  EXPECT_FALSE(application->infoDictionaryPath());
  EXPECT_FALSE(application->infoDictionary());
  made("A.app/Contents/Info.plist");
  EXPECT_FALSE(application->infoDictionaryPath());
}

TEST_F(Bundles, Localizations) {
  const std::map<std::string, std::string> files = {
      {"Contents/Info.plist", "{CFBundleDevelopmentRegion=de;}"},
      {"Contents/Resources/de.lproj/x", ""},
      {"Contents/Resources/zh-Hant.lproj/x", ""},
      {"Contents/Resources/Base.lproj/x", ""},
      {"Contents/Resources/x.LPROJ/x", ""},
      {"Contents/Resources/other.txt", ""}};
  const auto bundle = inspected("A.app", files);
  auto names = bundle->namesOfActiveLocalizations();
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"de", "zh-Hant"}));
  EXPECT_EQ(bundle->developmentLocalization(), "de");

  const auto plain = inspected("B.app", {{"Contents/Info.plist", "{}"}});
  EXPECT_TRUE(plain->namesOfActiveLocalizations().empty());
  EXPECT_FALSE(plain->developmentLocalization());
}

TEST_F(Bundles, Executables) {
  struct Case {
    const char* name;
    std::map<std::string, std::string> files;
    const char* executable;
  };
  const std::string info = "Contents/Info.plist";
  const auto widget = [](const std::string& plugIn) {
    return "{MainHTML=x; Plugin=\"" + plugIn + "\";}";
  };
  for (const auto& c : {
           Case{"A.app", {{info, executable}, {"Contents/MacOS/x", ""}}, "Contents/MacOS/x"},
           Case{"B.app", {{info, executable}}, nullptr},
           Case{"C.app", {{info, executable}, {"Contents/MacOS/x/y", ""}}, nullptr},
           Case{"D.x", {{info, "{CFBundleExecutable=\"\";}"}, {"Contents/MacOS/x", ""}}, nullptr},
           Case{"E.x", {{info, "{CFBundleExecutable=(x);}"}, {"Contents/MacOS/x", ""}}, nullptr},
           Case{"F.x",
                {{info, "{CFBundleExecutable=\"x\\0\";}"}, {"Contents/MacOS/x", ""}},
                nullptr},
           Case{"G.x", {{"Resources/Info.plist", executable}, {"MacOS/x", ""}}, "MacOS/x"},
           Case{"A.wdgt",
                {{"Info.plist", widget("p.plugin")},
                 {"p.plugin/Contents/Info.plist", executable},
                 {"p.plugin/Contents/MacOS/x", ""},
                 {"MacOS/x", ""}},
                "p.plugin/Contents/MacOS/x"},
           Case{"B.wdgt", {{"Info.plist", widget("p.plugin")}, {"MacOS/x", ""}}, nullptr},
           Case{"C.wdgt", {{"Info.plist", widget(".")}, {"MacOS/x", ""}}, nullptr},
           Case{"D.wdgt",
                {{"Info.plist", widget("p.plugin")},
                 {"p.plugin/Contents/Info.plist", "{CFBundleExecutable=\"\";}"}},
                nullptr},
           Case{"A.asset",
                {{"Info.plist", "{MobileAssetProperties={}; CFBundleExecutable=x;}"},
                 {"AssetData/x", ""},
                 {"META-INF/x", ""},
                 {"MacOS/x", ""}},
                nullptr},
       }) {
    SCOPED_TRACE(c.name);
    const auto bundle = inspected(c.name, c.files);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->executablePath(),
              c.executable ? std::optional(bundle->bundlePath() + "/" + std::string(c.executable))
                           : std::nullopt);
  }
}

TEST_F(Bundles, WhatApplicationsHave) {
  const std::string info = "{CFBundleExecutable=x; NSServices=({a=b;});}";
  const std::map<std::string, std::string> files = {
      {"Contents/Info.plist", info},
      {"Contents/Resources/de.lproj/MRJApp.properties", ""},
      {"Contents/PlugIns/a_support.bundle/Contents/Info.plist", "{CFBundleIdentifier=other;}"},
      {"Contents/PlugIns/b_support.bundle/Contents/Info.plist",
       "{CFBundleIdentifier=\"com.runrev.x\";}"}};
  const auto application = inspected("A.app", files);
  EXPECT_EQ(application->servicesEntries(), (Array{Dictionary{{"a", "b"}}}));
  EXPECT_TRUE(application->isMRJApplication());
  EXPECT_TRUE(application->isRevolutionApplication());
  // Nothing else has.
  const auto component = inspected("A.component", files);
  EXPECT_TRUE(component->servicesEntries().empty());
  EXPECT_FALSE(component->isMRJApplication());
  EXPECT_FALSE(component->isRevolutionApplication());

  const auto plain = inspected("B.app", {{"Contents/Info.plist", executable},
                                         {"Contents/PlugIns/a_support.bundle/x", ""},
                                         {"Contents/PlugIns/com.runrev", ""}});
  EXPECT_TRUE(plain->servicesEntries().empty());
  EXPECT_FALSE(plain->isMRJApplication());
  EXPECT_FALSE(plain->isRevolutionApplication());
}

TEST_F(Bundles, Signatures) {
  struct Case {
    const char* name;
    const char* seal;
    bool isSigned;
  };
  for (const auto& c : {Case{"A.app", "_CodeSignature/CodeResources", true},
                        Case{"B.app", "Contents/CodeResources", true},
                        Case{"C.app", "Contents/_CodeSignature/CodeResources", false},
                        Case{"D.app", "_CodeSignature/CodeResources/x", false},
                        Case{"E.app", "CodeResources", false}}) {
    const auto bundle = inspected(c.name, {{"Contents/Info.plist", executable}, {c.seal, ""}});
    EXPECT_EQ(bundle->isCodesigned(), c.isSigned) << c.seal;
  }
}

TEST_F(Bundles, OrderAndDescription) {
  registry.date = Date{1614834367.9};
  const auto mail = inspected("x/mail.app", {{"Contents/Info.plist", executable}});
  const auto other = inspected("a/Mail.app", {{"Contents/Info.plist", executable}});
  const auto zip = inspected("a/ZIP.app", {{"Contents/Info.plist", executable}});
  EXPECT_TRUE(mail->compare(&*other) == 0);
  EXPECT_TRUE(mail->compare(&*zip) < 0);
  EXPECT_TRUE(zip->compare(&*mail) > 0);
  EXPECT_TRUE(mail->compare(nullptr) > 0);
  EXPECT_EQ(mail->systemBundle(), registry.bundle);
  EXPECT_EQ(mail->dateLastUsed(), registry.date);
  EXPECT_EQ(mail->description(),
            "QRTBundle: '" + mail->bundlePath() +
                "' style: 0 type: 1 version: '(null)' identifier: '(null)' last used: "
                "2021-03-04 05:06:07 +0000\n");
  registry.date = Date{-1e300};
  EXPECT_NE(inspected("x/mail.app", {})->description().find("used: -32767-01-01 00:00:00"),
            std::string::npos);
}

TEST_F(Bundles, InstalledVersions) {
  struct Application {
    const char *name, *info;
  };
  for (const auto& [name, info] :
       {Application{"A.app",
                    "{CFBundleExecutable=x; CFBundleShortVersionString=\"2.1.3\"; "
                    "CFBundleGetInfoString=\"9.5 words\"; CFBundleVersion=7000;}"},
        Application{"B.app",
                    "{CFBundleExecutable=x; CFBundleShortVersionString=\"\"; "
                    "CFBundleVersion=\"2.5\";}"},
        Application{"C.app", "{CFBundleExecutable=x;}"},
        Application{"D.bundle", "{CFBundleExecutable=x; CFBundleShortVersionString=99;}"}}) {
    inspected(name, {{"Contents/Info.plist", info}});
    registry.urls.push_back({"file", root.path(name)});
  }
  registry.urls.push_back({"file", ""});
  registry.urls.push_back({"http", root.path("D.app")});
  inspected("D.app", {{"Contents/Info.plist", "{CFBundleExecutable=x; CFBundleVersion=88;}"}});
  const auto highest = [&](const char* identifier) {
    return QRTBundle::versionNumberForApplicationWithIdentifier(identifier, platform);
  };
  EXPECT_EQ(highest("org.example"), 2.5f);
  EXPECT_EQ(highest("com.apple.Safari"), 9.5f);
  EXPECT_EQ(highest("org.example.absent"), 0);
  EXPECT_EQ(highest(""), 0);
}

TEST_F(Bundles, HostileOnesGetAnAnswer) {
  struct Case {
    const char* name;
    std::function<bool(const std::string& info)> plant;
    bool isBundle;
  };
  const auto write = [](const std::string& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
    return true;
  };
  const Case cases[] = {
      {"loop.app", [](auto& info) { return symlink("Info.plist", info.c_str()) == 0; }, false},
      {"up.app", [](auto& info) { return symlink("..", info.c_str()) == 0; }, false},
      {"fifo.app", [](auto& info) { return mkfifo(info.c_str(), 0600) == 0; }, true},
      {"zero.app", [](auto& info) { return symlink("/dev/zero", info.c_str()) == 0; }, true},
      {"socket.app", [](auto& info) { return mknod(info.c_str(), S_IFSOCK | 0600, 0) == 0; }, true},
      {"huge.app",
       [&](auto& info) { return write(info, "{") && truncate(info.c_str(), 1L << 32) == 0; }, true},
      {"deep.app", [&](auto& info) { return write(info, std::string(1 << 20, '(')); }, true},
      {"wide.app", [&](auto& info) { return write(info, "(" + std::string(8 << 20, ',')); }, true},
      {"cut.app", [&](auto& info) { return write(info, "bplist00"); }, true},
      {"empty.app", [&](auto& info) { return write(info, ""); }, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto path = made(c.name);
    made(c.name + std::string("/Contents/Resources"));
    ASSERT_TRUE(c.plant(path + "/Contents/Info.plist"));
    const auto bundle = QRTBundle::initWithPath(path, platform);
    ASSERT_EQ(bundle.has_value(), c.isBundle);
    if (!bundle) continue;
    EXPECT_EQ(bundle->softwareType(), SoftwareType::other);
    EXPECT_FALSE(bundle->infoDictionary());
    EXPECT_FALSE(bundle->executablePath());
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

TEST(VersionNumber, FirstRunWithOneDot) {
  struct Case {
    const char* text;
    double number;
  };
  for (const auto& c :
       {Case{"10.13.6", 10.136}, Case{"Version 2.1.3 (45)", 2.13}, Case{"", 0}, Case{"beta", 0},
        Case{".", 0}, Case{"...5", 0.5}, Case{"v.5.", 0.5}, Case{"12", 12}, Case{"3.", 3},
        Case{"1,5", 1}, Case{"-7", 7}, Case{"1e5", 1}}) {
    EXPECT_DOUBLE_EQ(QRTBundle::versionNumberFromString(c.text), c.number) << c.text;
  }
}

}  // namespace
}  // namespace qrt
