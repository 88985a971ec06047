// The daemon removes itself: the real program, an installation and a tool for jobs in a sandbox.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "platform/PropertyLists.h"
#include "platform/linux/LinuxAuthority.h"
#include "support/DaemonProcess.h"
#include "support/PlantedFile.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

constexpr std::uint64_t performUninstall = 9994;

class UninstallTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the daemon needs root";
    start("#!/bin/sh\necho \"$@\" > " + called_ + "\n");
  }

  void start(const std::string& tool) {
    connection_.reset();
    daemon_.reset();
    const auto path = installation_.file("tool", tool);
    chmod(path.c_str(), 0755);
    install();
    daemon_.emplace(test::DaemonProcess::Options{.removalTool = path});
    auto connection = native_.facilities().helperConnector.connect(daemon_->socketPath());
    ASSERT_TRUE(connection);
    connection_ = std::move(*connection);
    ASSERT_EQ(connection_->registerClientWithPID(getpid()), success);
  }

  void install() {
    installation_.file("program", "installed");
    installation_.file("job", "installed");
  }
  /// As seen by the daemon, whose folder of actions is its own.
  void installRights() {
    test::RecordingLog log;
    LinuxAuthority authority("/proc/" + std::to_string(daemon_->processID()) + "/root",
                             daemon_->folder() + "/state", native_.facilities().propertyLists, log);
    const QRTPrivilegedOperationSetVK2 operations(log, authority);
    operations.setAuthorizationRightsForImplementedOperationsUsingAuthorization(
        authority.create()->get());
  }
  PropertyValue rights() const {
    const auto text = test::contentsOf(daemon_->folder() + "/state/rights.plist");
    return *native_.facilities().propertyLists.parse(Data(text.begin(), text.end()));
  }
  bool isInstalled() const { return test::exists(program_) && test::exists(job_); }

  Outcome uninstall() {
    const auto form = connection_->createExternalForm();
    if (!form) return form.error();
    return connection_->performPrivilegedOperation(performUninstall, *form, nullptr,
                                                   {getpid(), program_, job_});
  }

  const test::ScratchFolder installation_;
  const std::string program_ = installation_.path("program"), job_ = installation_.path("job"),
                    called_ = installation_.path("called");
  const NativePlatform native_;
  std::optional<test::DaemonProcess> daemon_;
  std::unique_ptr<HelperConnection> connection_;
};

TEST_F(UninstallTest, WaitsForOtherClientsThatLiveAndEndsWithoutReply) {
  installRights();
  const pid_t other = fork();
  if (other == 0) {
    pause();
    _exit(0);
  }
  ASSERT_EQ(connection_->registerClientWithPID(other), success);
  EXPECT_EQ(uninstall(), posixError(PosixCode::busy));
  EXPECT_TRUE(isInstalled());
  EXPECT_FALSE(test::exists(called_));
  EXPECT_EQ(rights().dictionary()->size(), 33u);

  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  const auto outcome = uninstall();
  ASSERT_TRUE(outcome);
  EXPECT_EQ(outcome->code, 4097) << "there was a reply";
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_FALSE(test::exists(program_) || test::exists(job_));
  EXPECT_EQ(test::contentsOf(called_),
            "disable --now com.vantor.system.privilegedhelper-vk2.socket\n");
  EXPECT_EQ(rights(), PropertyValue(Dictionary()));
}

TEST_F(UninstallTest, AToolThatCannotBeLaunchedIsLoggedOnly) {
  start("#!/no/such/interpreter\n");
  ASSERT_TRUE(uninstall());
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_FALSE(test::exists(program_) || test::exists(job_));
  EXPECT_NE(daemon_->log().find("Removal from Launch Services management failed with error code"),
            std::string::npos);
}

}  // namespace
}  // namespace qrt
