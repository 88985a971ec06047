#include "software/OSInstallAppValidator.h"

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

struct Installer {
  /// Of the information file.
  Dictionary info = {{"CFBundleDisplayName", "Install macOS Test"}};
  /// Of the newer file; empty for an installer without it.
  Dictionary installInfo = {};
  const char* team = "K36BKF7T3D";
  SigningChain::Options chain = {};
  bool hasMakersRoot = true;
  /// A shell script that runs in the contents after the installer was signed.
  std::string change = {};
  const char* name = "Install.app";
};

/// The validator's findings: "well-formed", "authentic" and the description.
std::string verdict(const Installer& installer) {
  const test::ScratchFolder scratch;
  const std::string contents = installer.name + std::string("/Contents/");
  test::makeApplication(scratch.path(installer.name), installer.info);
  test::plant(scratch, contents + "Resources/createinstallmedia", "#!/bin/sh\n");
  const NativePlatform native;
  const auto& facilities = native.facilities();
  if (!installer.installInfo.empty()) {
    test::plant(scratch, contents + "SharedSupport/InstallInfo.plist",
                *writeXmlPropertyList(installer.installInfo));
  }
  const SigningChain chain(installer.chain);
  test::signBundle(scratch.path(installer.name), chain, {.team = installer.team});
  scratch.make("cd " + contents + "; " + installer.change);

  test::AppleRootDouble signing(facilities.codeSigning,
                                installer.hasMakersRoot ? chain.rootDigest() : Data());
  const auto platform = test::platformWith({.codeSigning = &signing}, facilities);
  const auto validator =
      OSInstallAppValidator::initWithURL({"file", scratch.path(installer.name)}, platform);
  EXPECT_TRUE(installer.hasMakersRoot || !signing.hasChecked()) << "checked another signer's files";
  return std::string(validator->isWellFormed() ? "well-formed " : "") +
         (validator->isAuthentic() ? "authentic " : "") +
         validator->osDescription().value_or("(null)");
}

const Dictionary version14{{"System Image Info", Dictionary{{"version", "14.1"}}}};

TEST(OSInstallAppValidator, TheFormAndTheDescriptionAreAnInstallers) {
  const std::pair<Installer, const char*> cases[] = {
      {{}, "well-formed authentic macOS Test"},
      {{.installInfo = version14}, "well-formed authentic macOS 14.1"},
      {{.installInfo = {{"System Image Info", "14"}}}, "(null)"},
      {{.info = {{"CFBundleDisplayName", "install macOS"}}}, "(null)"},
      {{.info = {{"CFBundleDisplayName", 5}}}, "(null)"},
      {{.change = "rm Resources/createinstallmedia"}, "(null)"},
      {{.change = "rm CodeResources"}, "(null)"},
      {{.name = "Install.bundle"}, "(null)"}};
  for (const auto& [installer, found] : cases) EXPECT_EQ(verdict(installer), found);
  const NativePlatform native;
  EXPECT_FALSE(OSInstallAppValidator::initWithURL({"https", "/a.app"}, native.facilities()));
}

TEST(OSInstallAppValidator, TheSignatureDecides) {
  const SigningChain::Options otherLeaf{.leafName = "Apple Mac OS Application Signing"};
  const SigningChain::Options otherRoot{.rootName = "Apple Root CA - G2"};
  const auto named = [](const char* identifier) {
    return Dictionary{
        {"CFBundleDisplayName", "Install OS X"},
        {"CFBundleIdentifier", std::string("com.apple.InstallAssistant.") + identifier}};
  };
  const auto mavericks = named("Mavericks"), highSierra = named("HighSierra");
  const char* const team = "APPLECOMPUTER";
  const std::string image = "touch SharedSupport/InstallESD.dmg; ";
  const std::pair<Installer, bool> cases[] = {
      {{.chain = otherLeaf}, true},
      {{.team = "OTHER"}, false},
      {{.chain = otherRoot}, false},
      {{.hasMakersRoot = false}, false},
      {{.change = "touch Resources/new"}, false},
      {{.change = image}, false},
      {{.info = highSierra, .team = "ANY"}, true},
      {{.info = highSierra, .chain = otherLeaf}, false},
      {{.info = mavericks, .team = team}, true},
      {{.info = mavericks}, false},
      {{.info = mavericks, .team = team, .hasMakersRoot = false}, false},
      {{.info = mavericks, .team = team, .change = image}, true},
      {{.info = mavericks, .team = team, .change = image + "touch SharedSupport/second"}, false},
      {{.info = mavericks, .team = team, .change = "touch SharedSupport/second; " + image}, false},
      {{.info = mavericks, .team = team, .change = image + "rm Resources/resource"}, false},
      {{.info = mavericks, .team = team, .change = "touch InstallESD.dmg"}, false},
      // The first identifier is that of the file with the description, the second the bundle's.
      {{.info = mavericks, .installInfo = version14, .team = team}, false},
      {{.info = mavericks, .installInfo = version14}, true}};
  for (const auto& [installer, isAuthentic] : cases) {
    SCOPED_TRACE(std::string(installer.team) + " " + installer.change);
    const auto found = verdict(installer);
    EXPECT_EQ(found.starts_with("well-formed authentic "), isAuthentic);
    EXPECT_TRUE(found.starts_with("well-formed"));
  }
}

TEST(OSInstallAppValidator, QueriesAboutSigningInformation) {
  using Validator = OSInstallAppValidator;
  SigningInformation info;
  EXPECT_FALSE(Validator::isAppleSourcedCodesigningInfo(info));
  info.certificates = {{"Apple Root CA", {0x61, 0x1E}}};
  EXPECT_FALSE(Validator::isAppleSourcedCodesigningInfo(info));
  info.teamIdentifier = "";
  EXPECT_FALSE(Validator::isTeamIdentifier("", info) || Validator::isTeamIdentifier("A", info));
}

}  // namespace
}  // namespace qrt
