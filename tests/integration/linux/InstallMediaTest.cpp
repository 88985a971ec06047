// An installer's own tool, run by the daemon.
#include "operations/PrivilegedOperationError.h"
#include "support/BundleSigner.h"
#include "support/DaemonFixture.h"
#include "support/Mounts.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

constexpr std::uint64_t createInstallmedia = 25;

/// Prints its arguments and waits until it is stopped.
constexpr const char* tool = R"tool(#!/bin/sh
echo "$@ PATH=$(/usr/bin/printenv PATH)"
exec /bin/sleep 60
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

  /// Collects the tool's output, and then stops it.
  Outcome perform(const std::string& installer, const std::string& volume) {
    const auto connection = connect();
    return DaemonFixture::perform(*connection, createInstallmedia, {installer, volume},
                                  [&](const Dictionary& message) {
                                    const auto* piece = message.begin()->second.data();
                                    if (!piece || piece->empty()) return;
                                    output_.append(piece->begin(), piece->end());
                                    connection->stopOperation();
                                  });
  }

  const test::ScratchFolder scratch_;
  const std::string installer_ = scratch_.path("Install.app"), volume_ = scratch_.folder("volume");
  const test::Mount mount_{test::Mount::Kind::ext4, volume_};
  const test::SigningChain chain_;
  std::string output_;
};

TEST_F(InstallMediaTest, NothingRunsForAnotherVolumeOrInstaller) {
  scratch_.folder("volume/folder");
  test::run({"cp", "-R", installer_, scratch_.path("Changed.app")});
  test::plant(scratch_, "Changed.app/Contents/Resources/added");
  const std::tuple<std::string, std::string, int> cases[] = {
      {installer_, volume_ + "/", 19},
      {installer_, volume_ + "/folder", 19},
      {installer_, scratch_.path("missing"), 19},
      {installer_, "", 19},
      {scratch_.path("missing.app"), volume_, 18},
      {scratch_.path("Changed.app"), volume_, 18}};
  for (const auto& [installer, volume, code] : cases) {
    const auto outcome = perform(installer, volume);
    EXPECT_EQ(output_, "");
    ASSERT_EQ(codeOf(outcome), code) << installer << " " << volume;
    EXPECT_EQ(*stringIn(outcome->userInfo, filePathErrorKey), code == 18 ? installer : volume);
  }
}

TEST_F(InstallMediaTest, TheToolRunsUntilItsRequestorStopsIt) {
  EXPECT_EQ(perform(installer_, volume_), posixError(PosixCode::canceled));
  const auto words = "--applicationpath " + installer_ + " --volume " + volume_;
  EXPECT_TRUE(output_.starts_with(words + " --nointeraction PATH=")) << output_;
}

}  // namespace
}  // namespace qrt
