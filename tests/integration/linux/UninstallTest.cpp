// The daemon removes itself: the real program, an installation and a tool for jobs in a sandbox.
#include <signal.h>

#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/PropertyLists.h"
#include "platform/linux/LinuxAuthority.h"
#include "support/DaemonFixture.h"
#include "support/PlantedFile.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

constexpr std::uint64_t performUninstall = 9994;

class UninstallTest : public test::DaemonFixture {
 protected:
  /// As seen by the daemon, whose folder of actions is its own.
  void installRights() {
    test::RecordingLog log;
    LinuxAuthority authority("/proc/" + std::to_string(daemon_->processID()) + "/root",
                             daemon_->folder() + "/state", native_.facilities().propertyLists, log);
    const QRTPrivilegedOperationSetVK2 operations(log, authority);
    operations.setAuthorizationRightsForImplementedOperationsUsingAuthorization(
        authority.create()->get());
  }
  std::size_t rights() const {
    const auto text = test::contentsOf(daemon_->folder() + "/state/rights.plist");
    const auto list = native_.facilities().propertyLists.parse(Data(text.begin(), text.end()));
    return list->dictionary()->size();
  }

  const test::ScratchFolder installation_;
};

TEST_F(UninstallTest, WaitsForOtherClientsThatLiveAndEndsWithoutReply) {
  const auto program = installation_.file("program"), job = installation_.file("job");
  const auto called = installation_.path("called");
  const auto tool = installation_.file("tool", "#!/bin/sh\necho \"$@\" > " + called + "\n");
  chmod(tool.c_str(), 0755);
  start({.removalTool = tool});
  const pid_t other = fork();
  if (other == 0) {
    pause();
    _exit(0);
  }
  const auto connection = connect();
  const auto uninstall = [&] {
    return perform(*connection, performUninstall, {getpid(), program, job});
  };
  ASSERT_EQ(connection->registerClientWithPID(getpid()), success);
  ASSERT_EQ(connection->registerClientWithPID(other), success);
  installRights();  // Now that it answers, it is in its own namespace.
  EXPECT_EQ(uninstall(), posixError(PosixCode::busy));
  EXPECT_TRUE(test::exists(program) && test::exists(job) && !test::exists(called));
  EXPECT_EQ(rights(), 33u);

  kill(other, SIGKILL);
  waitpid(other, nullptr, 0);
  const auto outcome = uninstall();
  ASSERT_TRUE(outcome);
  EXPECT_EQ(outcome->code, 4097) << "there was a reply";
  EXPECT_EQ(daemon_->waitForEnd(), 0);
  EXPECT_FALSE(test::exists(program) || test::exists(job));
  EXPECT_EQ(test::contentsOf(called),
            "disable --now com.vantor.system.privilegedhelper-vk2.socket\n");
  EXPECT_EQ(rights(), 0u);
}

}  // namespace
}  // namespace qrt
