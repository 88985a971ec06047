// An installer's own tool, run by the daemon.
#include "operations/PrivilegedOperationError.h"
#include "support/BundleSigner.h"
#include "support/DaemonFixture.h"
#include "support/Mounts.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::uint64_t createInstallmedia = 25;

/// Tells what it was given, and goes on when that has arrived somewhere.
constexpr const char* tool = R"tool(#!/bin/sh
echo "$@ PATH=$(/usr/bin/printenv PATH)"
for i in 1 2 3 4 5 6 7 8 9 10; do
  [ -e "$4/arrived" ] && { echo done >&2; exit 0; }
  /bin/sleep 1
done
exit 9
)tool";

class InstallMediaTest : public test::DaemonFixture {
 protected:
  void SetUp() override {
    if (geteuid() != 0 || !mount_.isMounted()) GTEST_SKIP() << "needs root and its right to mount";
    test::makeApplication(installer_, {{"CFBundleDisplayName", "Install macOS Test"}});
    const auto path =
        test::plant(scratch_, "Install.app/Contents/Resources/createinstallmedia", tool);
    chmod(path.c_str(), 0755);
    test::signBundle(installer_, chain_, {.team = "K36BKF7T3D"});
    const auto bytes = chain_.rootDigest();
    const std::string digest(bytes.begin(), bytes.end());
    start("", "trusting_daemon " + scratch_.file("digest", digest));
  }

  /// Collects what the tool writes and calls `atMessage` for each message.
  Outcome perform(
      const std::string& installer, const std::string& volume,
      const std::function<void()>& atMessage = [] {}) {
    return DaemonFixture::perform(
        *connect(), createInstallmedia, {installer, volume}, [&](const Dictionary& message) {
          for (const auto& [key, value] : message) {
            if (const auto* data = value.data()) {
              (key == "ErrorData" ? errors_ : output_).append(data->begin(), data->end());
            }
          }
          if (!output_.empty()) atMessage();
        });
  }

  const test::ScratchFolder scratch_;
  const std::string installer_ = scratch_.path("Install.app"), volume_ = scratch_.folder("volume");
  const test::Mount mount_{test::Mount::Kind::ext4, volume_};
  const test::SigningChain chain_;
  std::string output_, errors_;
};

TEST_F(InstallMediaTest, TheToolsOutputArrivesWhileItRuns) {
  EXPECT_EQ(perform(installer_, volume_, [&] { test::plant(scratch_, "volume/arrived"); }),
            success);
  EXPECT_EQ(output_, "--applicationpath " + installer_ + " --volume " + volume_ +
                         " --nointeraction PATH=\n");
  EXPECT_EQ(errors_, "done\n");
}

TEST_F(InstallMediaTest, NothingRunsForAnotherVolumeOrInstaller) {
  scratch_.folder("volume/folder");
  const auto check = [&](const std::string& installer, const std::string& volume, int code) {
    const auto outcome = perform(installer, volume);
    EXPECT_EQ(output_ + errors_, "");
    ASSERT_TRUE(outcome) << installer << " " << volume;
    EXPECT_EQ(outcome->domain, privilegedOperationErrorDomain);
    EXPECT_EQ(outcome->code, code) << volume;
    const auto* path = stringIn(outcome->userInfo, filePathErrorKey);
    EXPECT_EQ(path ? *path : "", code == 18 ? installer : volume);
  };
  for (const auto& volume : {volume_ + "/", volume_ + "/folder", scratch_.path() + "//volume",
                             scratch_.path("missing"), std::string()}) {
    check(installer_, volume, 19);
  }
  check(scratch_.path("missing.app"), volume_, 18);
  test::plant(scratch_, "Install.app/Contents/Resources/added");
  check(installer_, volume_, 18);
}

}  // namespace
}  // namespace qrt
