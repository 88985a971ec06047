#include "hardware/OSInstallAppValidator.h"

#include <gtest/gtest.h>

#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "support/AppleRootDouble.h"
#include "support/BundleSigner.h"
#include "support/PlantedFile.h"
#include "support/PlatformDouble.h"

namespace qrt {
namespace {

using test::SigningChain;

constexpr const char* installerTeam = "K36BKF7T3D";
constexpr const char* mavericks = "com.apple.InstallAssistant.Mavericks";
constexpr const char* highSierra = "com.apple.InstallAssistant.HighSierra";

struct Installer {
  /// Of the information file.
  Dictionary info = {{"CFBundleDisplayName", "Install macOS Test"}};
  /// Of the newer file; empty for an installer without one.
  Dictionary installInfo = {};
  const char* team = installerTeam;
  SigningChain::Options chain = {};
  bool rootPassesForApples = true;
  /// Made after the installer was signed.
  std::vector<std::string> added = {};
  std::vector<std::string> removed = {};
  const char* name = "Install.app";
};

/// What the validator finds, as "well-formed", "authentic" and the description.
std::string verdict(const Installer& installer) {
  const test::ScratchFolder scratch;
  const auto path = scratch.path(installer.name);
  test::makeApplication(path, installer.info);
  const auto inside = [&](const std::string& name) {
    return std::string(installer.name) + "/Contents/" + name;
  };
  test::plant(scratch, inside("Resources/createinstallmedia"), "#!/bin/sh\n");
  const NativePlatform native;
  const auto& facilities = native.facilities();
  if (!installer.installInfo.empty()) {
    test::plant(scratch, inside("SharedSupport/InstallInfo.plist"),
                *facilities.propertyLists.xml(installer.installInfo));
  }
  const SigningChain chain(installer.chain);
  test::signBundle(path, chain, {.team = installer.team});
  for (const auto& name : installer.added) test::plant(scratch, inside(name));
  for (const auto& name : installer.removed) unlink(scratch.path(inside(name)).c_str());

  test::AppleRootDouble signing(facilities.codeSigning,
                                installer.rootPassesForApples ? chain.rootDigest() : Data());
  const auto platform = test::platformWith({.codeSigning = &signing}, facilities);
  const auto validator = OSInstallAppValidator::initWithURL({"file", path}, platform);
  EXPECT_EQ(validator->description(),
            "<OSInstallAppValidator>: installer for '" +
                validator->osDescription().value_or("(null)") + "', media utility at " +
                validator->mediaUtilityPath().value_or("(null)") +
                ", well-formed: " + (validator->isWellFormed() ? "YES" : "NO") +
                " authentic: " + (validator->isAuthentic() ? "YES" : "NO") + "\n");
  return std::string(validator->isWellFormed() ? "well-formed " : "") +
         (validator->isAuthentic() ? "authentic " : "") +
         validator->osDescription().value_or("none");
}

const Dictionary version14{{"System Image Info", Dictionary{{"version", "14.1"}}}};

Dictionary named(const char* identifier) {
  return {{"CFBundleDisplayName", "Install OS X"}, {"CFBundleIdentifier", identifier}};
}

TEST(OSInstallAppValidator, FormAndDescription) {
  const std::string good = "well-formed authentic ";
  EXPECT_EQ(verdict({}), good + "macOS Test");
  EXPECT_EQ(verdict({.installInfo = version14}), good + "macOS 14.1");
  const Dictionary bad[] = {{{"System Image Info", "14"}},
                            {{"System Image Info", Dictionary{{"version", 14}}}},
                            {{"version", "14"}}};
  for (const auto& info : bad) EXPECT_EQ(verdict({.installInfo = info}), "none");
  EXPECT_EQ(verdict({.info = {{"CFBundleDisplayName", "install macOS"}}}), "none");
  EXPECT_EQ(verdict({.info = {{"CFBundleDisplayName", "Install "}}}), "");
  EXPECT_EQ(verdict({.info = {{"CFBundleDisplayName", 5}}}), "none");
  EXPECT_EQ(verdict({.removed = {"Resources/createinstallmedia"}}), "none");
  EXPECT_EQ(verdict({.removed = {"CodeResources"}}), "none");
  EXPECT_EQ(verdict({.name = "Install.bundle"}), "none");
  const NativePlatform native;
  EXPECT_FALSE(OSInstallAppValidator::initWithURL({"https", "/a.app"}, native.facilities()));
}

TEST(OSInstallAppValidator, WhoseSignatureIsWanted) {
  const SigningChain::Options otherLeaf{.leafName = "Apple Mac OS Application Signing"};
  const SigningChain::Options otherRoot{.rootName = "Apple Root CA - G2"};
  struct Case {
    Installer installer;
    bool isAuthentic;
  };
  const Case cases[] = {
      {{.chain = otherLeaf}, true},
      {{.team = "OTHER"}, false},
      {{.chain = otherRoot}, false},
      {{.rootPassesForApples = false}, false},
      {{.added = {"Resources/new"}}, false},
      {{.removed = {"Resources/resource"}}, false},
      {{.info = named(highSierra), .team = "ANY"}, true},
      {{.info = named(highSierra), .chain = otherLeaf}, false},
      {{.info = named(highSierra), .chain = otherRoot}, false},
      {{.info = named(mavericks), .team = "APPLECOMPUTER"}, true},
      {{.info = named(mavericks)}, false},
      {{.info = named(mavericks), .team = "APPLECOMPUTER", .rootPassesForApples = false}, false},
      {{.info = named(mavericks),
        .team = "APPLECOMPUTER",
        .added = {"SharedSupport/InstallESD.dmg"}},
       true},
      {{.info = named(mavericks),
        .team = "APPLECOMPUTER",
        .added = {"SharedSupport/InstallESD.dmg", "SharedSupport/second"}},
       false},
      {{.info = named(mavericks), .team = "APPLECOMPUTER", .added = {"InstallESD.dmg"}}, false},
      {{.info = named(mavericks),
        .team = "APPLECOMPUTER",
        .added = {"SharedSupport/InstallESD.dmg"},
        .removed = {"Resources/resource"}},
       false},
      {{.added = {"SharedSupport/InstallESD.dmg"}}, false},
      // The first identifier is that of the file with the description, the second the bundle's.
      {{.info = named(mavericks), .installInfo = version14, .team = "APPLECOMPUTER"}, false},
      {{.info = named(mavericks), .installInfo = version14}, true},
      {{.info = named(highSierra), .installInfo = version14, .team = "ANY"}, true},
  };
  for (const auto& c : cases) {
    const auto found = verdict(c.installer);
    EXPECT_EQ(found.find(" authentic ") != std::string::npos, c.isAuthentic) << &c - cases;
    EXPECT_TRUE(found.starts_with("well-formed")) << &c - cases;
  }
}

TEST(OSInstallAppValidator, QuestionsAboutSigningInformation) {
  using Validator = OSInstallAppValidator;
  SigningInformation info;
  EXPECT_FALSE(Validator::isAppleSourcedCodesigningInfo(info));
  info.certificates = {{std::nullopt, {}}, {"Apple Root CA", {0x61, 0x1E}}};
  EXPECT_FALSE(Validator::isAppleSourcedCodesigningInfo(info));
  info.certificates.back().digest = {0x61, 0x1E, 0x5B, 0x66, 0x2C, 0x59, 0x3A, 0x08, 0xFF, 0x58,
                                     0xD1, 0x4A, 0xE2, 0x24, 0x52, 0xD1, 0x98, 0xDF, 0x6C, 0x60};
  EXPECT_TRUE(Validator::isAppleSourcedCodesigningInfo(info));
  EXPECT_TRUE(Validator::isAppleSourcedAndInternallySignedCodesigningInfo(info));
  info.teamIdentifier = "";
  EXPECT_FALSE(Validator::isTeamIdentifier("", info));
  EXPECT_FALSE(Validator::isTeamIdentifier("A", info));
  EXPECT_FALSE(Validator::isTeamIdentifier("A", std::nullopt));
}

}  // namespace
}  // namespace qrt
