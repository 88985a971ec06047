#include "service/SelfUninstall.h"

#include <sys/wait.h>

#include "ServiceDoubles.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/ProcessTable.h"
#include "service/ClientSet.h"
#include "service/ObjectRemoval.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

/// An installation in a scratch folder, with a removal tool that records its arguments.
class SelfUninstallTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "a safe removal tool belongs to root";
    install();
    makeTool("echo \"$@\" > " + called_);
    operations_.setAuthorizationRightsForImplementedOperationsUsingAuthorization(
        doubles_.authority.create()->get());
  }

  void install() const {
    for (const auto* name : {"program", "job"}) scratch_.file(name);
    unlink(called_.c_str());
  }
  void makeTool(const std::string& script) {
    doubles_.jobControl.tool = scratch_.file("tool", "#!/bin/sh\n" + script + "\n");
    ASSERT_EQ(chmod(tool_.c_str(), 0755), 0);
  }
  /// Nothing after an uninstall, which does not return.
  std::optional<Outcome> uninstall(const std::string& program, const std::string& job) {
    const SelfUninstall uninstall{doubles_.platform, operations_, clients_, clientsLock_,
                                  [] { throw test::FakeSelf::Exited(); }};
    try {
      return uninstall.performUninstallForClientWithPID(own_, program, job);
    } catch (const test::FakeSelf::Exited&) {
      return std::nullopt;
    }
  }
  std::optional<Outcome> uninstall() { return uninstall(program_, job_); }
  bool isUntouched() const {
    return test::exists(program_) && test::exists(job_) && !test::exists(called_) &&
           doubles_.authority.rights().size() == operations_.implementedOperations().size();
  }
  bool isGone() const { return !test::exists(program_) && !test::exists(job_); }

  static constexpr std::int32_t own_ = 4711;
  test::ScratchFolder scratch_;
  const std::string program_ = scratch_.path("program"), job_ = scratch_.path("job"),
                    tool_ = scratch_.path("tool"), called_ = scratch_.path("called");
  test::ServicePlatform doubles_;
  QRTPrivilegedOperationSetVK2 operations_{doubles_.log, doubles_.authority};
  ClientSet clients_;
  std::mutex clientsLock_;
};

TEST_F(SelfUninstallTest, RemovesEverythingAndEnds) {
  // Clients that have ended do not count. A look at the process table for each would take minutes.
  for (std::int32_t i = 0; i < 100'000; ++i) ASSERT_TRUE(clients_.add(999'000'000 + i, 0));
  ASSERT_TRUE(clients_.add(own_, 0));
  const pid_t zombie = fork();
  if (zombie == 0) _exit(0);
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(zombie), nullptr, WEXITED | WNOWAIT), 0);
  ASSERT_TRUE(clients_.add(zombie, 0));
  EXPECT_FALSE(uninstall());
  waitpid(zombie, nullptr, 0);
  EXPECT_TRUE(isGone());
  EXPECT_TRUE(doubles_.authority.rights().empty());
  EXPECT_EQ(doubles_.authority.calls().back(), (test::FakeAuthority::Call{"free", {}, 0}));
  EXPECT_EQ(test::contentsOf(called_), "forget com.vantor.system.privilegedhelper-vk2\n");
  const std::string deleting = "Deleting file system object '<private>'.";
  EXPECT_EQ(doubles_.log.texts(),
            (std::vector<std::string>{
                deleting, deleting,
                "Processing uninstall request for PID 4711. The executable files have been "
                "deleted, the point of no return was passed.",
                "Removed associated right definitions."}));
}

TEST_F(SelfUninstallTest, ARefusalChangesNothing) {
  EXPECT_EQ(uninstall("", job_), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(uninstall(program_, ""), posixError(PosixCode::invalidArgument));

  ASSERT_TRUE(clients_.add(getpid(), 0));
  EXPECT_EQ(uninstall(), posixError(PosixCode::busy));
  EXPECT_EQ(doubles_.log.texts().back(),
            "Uninstall request from PID 4711 was rejected because client 'test_service' with PID " +
                std::to_string(getpid()) + " is still working with us.");
  clients_.remove(getpid());

  chmod(tool_.c_str(), 0775);
  EXPECT_EQ(uninstall(), posixError(PosixCode::permissionDenied, tool_));
  chmod(tool_.c_str(), 0755);

  doubles_.authority.createStatus = AuthorizationStatus::internal;
  EXPECT_EQ(uninstall(), osStatusError(-60008));
  EXPECT_TRUE(isUntouched());
}

TEST_F(SelfUninstallTest, AMissingFileStopsItAndAFailedToolDoesNot) {
  EXPECT_EQ(uninstall(program_, scratch_.path("none")), posixError(PosixCode::noEntry));
  EXPECT_FALSE(doubles_.authority.rights().empty());
  EXPECT_FALSE(test::exists(called_));

  install();
  makeTool("exit 3");
  EXPECT_FALSE(uninstall());
  EXPECT_EQ(doubles_.log.texts().back(),
            "Removal from Launch Services management failed with error code 3.");
}

TEST_F(SelfUninstallTest, DeletingContinuesAfterAFailure) {
  scratch_.make("mkdir full; touch full/file; ln -s full link");
  if (!scratch_.changeFlags("job", "+i")) GTEST_SKIP() << "no immutable flag on this file system";
  const Array paths{scratch_.path("none"), 5, scratch_.path("full"), scratch_.path("link"), job_};
  EXPECT_EQ(codeOf(deleteFileSystemObjectsWithPaths(doubles_.platform, paths)), 66);
  EXPECT_FALSE(test::exists(scratch_.path("link")) || test::exists(job_));
}

}  // namespace
}  // namespace qrt
