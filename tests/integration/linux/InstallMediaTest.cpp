// An installer's own tool, run by the daemon.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

#include "operations/PrivilegedOperationError.h"
#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "support/BundleSigner.h"
#include "support/DaemonProcess.h"
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

class InstallMediaTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the daemon needs root";
    volume_ = scratch_.folder("volume");
    mount_.emplace(test::Mount::Kind::ext4, volume_);
    if (!mount_->isMounted()) GTEST_SKIP() << "needs the right to mount";
    installer_ = scratch_.path("Install.app");
    test::makeApplication(installer_, {{"CFBundleDisplayName", "Install macOS Test"}});
    const auto path =
        test::plant(scratch_, "Install.app/Contents/Resources/createinstallmedia", tool);
    chmod(path.c_str(), 0755);
    test::signBundle(installer_, chain_, {.team = "K36BKF7T3D"});
    std::string digest;
    for (const auto byte : chain_.rootDigest()) {
      char text[3];
      std::snprintf(text, sizeof text, "%02x", byte);
      digest += text;
    }
    daemon_.emplace(test::DaemonProcess::Options{.command = {"trusting_daemon", digest}});
    auto connection = native_.facilities().helperConnector.connect(daemon_->socketPath());
    ASSERT_TRUE(connection);
    connection_ = std::move(*connection);
  }

  /// Collects what the tool writes and calls `atLine` for each line of it.
  Outcome perform(const Array& arguments, const std::function<void()>& atLine) {
    const auto form = connection_->createExternalForm();
    return connection_->performPrivilegedOperation(
        createInstallmedia, *form,
        [&](const Dictionary& message) {
          for (const auto& [key, value] : message) {
            const auto* data = value.data();
            if (!data) continue;
            (key == "ErrorData" ? errors_ : output_).append(data->begin(), data->end());
            if (!data->empty() && data->back() == '\n') atLine();
          }
        },
        arguments);
  }

  test::ScratchFolder scratch_;
  std::string volume_, installer_, output_, errors_;
  std::optional<test::Mount> mount_;
  test::SigningChain chain_;
  NativePlatform native_;
  std::optional<test::DaemonProcess> daemon_;
  std::unique_ptr<HelperConnection> connection_;
};

TEST_F(InstallMediaTest, TheToolsOutputArrivesWhileItRuns) {
  const auto outcome =
      perform({installer_, volume_}, [&] { test::plant(scratch_, "volume/arrived"); });
  EXPECT_EQ(outcome, success);
  EXPECT_EQ(output_, "--applicationpath " + installer_ + " --volume " + volume_ +
                         " --nointeraction PATH=\n");
  EXPECT_EQ(errors_, "done\n");
}

TEST_F(InstallMediaTest, NothingRunsForAnotherVolumeOrInstaller) {
  scratch_.folder("volume/folder");
  struct Case {
    std::string installer, volume;
    std::int64_t code;
  };
  const auto check = [&](const Case& c) {
    const auto outcome = perform({c.installer, c.volume}, [] {});
    EXPECT_EQ(output_ + errors_, "");
    ASSERT_TRUE(outcome) << c.installer << " " << c.volume;
    EXPECT_EQ(outcome->domain, privilegedOperationErrorDomain);
    EXPECT_EQ(outcome->code, c.code) << c.volume;
    const auto* path = stringIn(outcome->userInfo, filePathErrorKey);
    EXPECT_EQ(path ? *path : "", c.code == 18 ? c.installer : c.volume);
  };
  for (const auto& volume : {volume_ + "/", volume_ + "/folder", scratch_.path() + "//volume",
                             scratch_.path("missing"), std::string()}) {
    check({installer_, volume, 19});
  }
  check({scratch_.path("missing.app"), volume_, 18});
  test::plant(scratch_, "Install.app/Contents/Resources/added");
  check({installer_, volume_, 18});
}

}  // namespace
}  // namespace qrt
