#include "service/SelfUninstall.h"

#include "ServiceDoubles.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "service/ClientRegistry.h"
#include "service/ObjectRemoval.h"
#include "support/KillAtEveryCall.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::FakeAuthority;

/// An installation in a scratch folder, with a removal tool that writes down how it was called.
class SelfUninstallTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "a safe removal tool is root's";
    install();
    std::ofstream(tool_) << "#!/bin/sh\necho \"$@\" > " << called_ << "\n";
    ASSERT_EQ(chmod(tool_.c_str(), 0755), 0);
    doubles_.jobControl.tool = tool_;
    operations_.setAuthorizationRightsForImplementedOperationsUsingAuthorization(
        doubles_.authority.create()->get());
    doubles_.authority.takeCalls();
  }

  void install() const {
    for (const auto& path : {program_, job_}) std::ofstream(path) << "installed";
  }
  Outcome uninstall(const std::string& program, const std::string& job) {
    const SelfUninstall uninstall{doubles_.platform, operations_, clients_, [] { throw Ended{}; }};
    return uninstall.performUninstallForClientWithPID(own_, program, job);
  }
  bool isUntouched() const {
    return test::exists(program_) && test::exists(job_) && !test::exists(called_) &&
           doubles_.authority.rights().size() == 33;
  }

  struct Ended {};
  static constexpr std::int32_t own_ = 4711;
  test::ScratchFolder scratch_;
  const std::string program_ = scratch_.path("program"), job_ = scratch_.path("job"),
                    tool_ = scratch_.path("tool"), called_ = scratch_.path("called");
  test::ServicePlatform doubles_;
  QRTPrivilegedOperationSetVK2 operations_{doubles_.log, doubles_.authority};
  ClientRegistry clients_;
};

TEST_F(SelfUninstallTest, LeavesNothingAndEnds) {
  clients_.add(own_);
  clients_.add(999'999'999);  // Clients that have ended do not count.
  EXPECT_THROW(uninstall(program_, job_).has_value(), Ended);
  EXPECT_FALSE(test::exists(program_));
  EXPECT_FALSE(test::exists(job_));
  EXPECT_TRUE(doubles_.authority.rights().empty());
  EXPECT_EQ(doubles_.authority.calls().front().function, "create");
  EXPECT_EQ(doubles_.authority.calls().back(), (FakeAuthority::Call{"free", {}, 0}));
  EXPECT_EQ(test::contentsOf(called_), "forget com.vantor.system.privilegedhelper-vk2\n");
  EXPECT_EQ(
      doubles_.log.texts(),
      (std::vector<std::string>{
          "Deleting file system object '<private>'.", "Deleting file system object '<private>'.",
          "Processing uninstall request for PID 4711. The executable files have been "
          "deleted, the point of no return was passed.",
          "Removed associated right definitions."}));
}

TEST_F(SelfUninstallTest, RefusesWithoutTouchingAnything) {
  EXPECT_EQ(uninstall("", job_), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(uninstall(program_, ""), posixError(PosixCode::invalidArgument));

  clients_.add(own_);
  clients_.add(getpid());
  EXPECT_EQ(uninstall(program_, job_), posixError(PosixCode::busy));
  EXPECT_EQ(doubles_.log.texts().back(),
            "Uninstall request from PID 4711 was rejected because client 'test_service' with PID " +
                std::to_string(getpid()) + " is still working with us.");
  clients_.remove(getpid());

  chmod(tool_.c_str(), 0775);
  EXPECT_EQ(uninstall(program_, job_), posixError(PosixCode::permissionDenied, tool_));
  chmod(tool_.c_str(), 0755);

  doubles_.authority.createStatus = AuthorizationStatus::internal;
  EXPECT_EQ(uninstall(program_, job_), osStatusError(-60008));
  EXPECT_TRUE(isUntouched());
}

TEST_F(SelfUninstallTest, AMissingFileStopsItBeforeTheRights) {
  EXPECT_EQ(uninstall(program_, scratch_.path() + "/none"), posixError(PosixCode::noEntry));
  EXPECT_EQ(doubles_.authority.rights().size(), 33u);
  EXPECT_FALSE(test::exists(called_));
  // Once the file is back, a second request finishes the work.
  std::ofstream(program_) << "installed again";
  EXPECT_THROW(uninstall(program_, job_).has_value(), Ended);
}

TEST_F(SelfUninstallTest, AToolThatFailsOrCannotBeLaunchedIsLoggedOnly) {
  std::ofstream(tool_) << "#!/bin/sh\nexit 3\n";
  EXPECT_THROW(uninstall(program_, job_).has_value(), Ended);
  EXPECT_EQ(doubles_.log.texts().back(),
            "Removal from Launch Services management failed with error code 3.");

  install();
  chmod(tool_.c_str(), 0644);
  EXPECT_THROW(uninstall(program_, job_).has_value(), Ended);
  EXPECT_EQ(doubles_.log.texts().back(),
            "Removal from Launch Services management failed with error code -1.");
}

TEST_F(SelfUninstallTest, AKillLeavesAllOrWhatASecondRequestFinishes) {
  bool wasUntouched = false;
  bool wasFinished = false;
  const auto prepare = [&] {
    install();
    unlink(called_.c_str());
  };
  const auto request = [&] {
    try {
      static_cast<void>(uninstall(program_, job_));
    } catch (const Ended&) {
    }
  };
  const auto check = [&](int stop) {
    SCOPED_TRACE(stop);
    if (test::exists(program_)) {
      EXPECT_TRUE(isUntouched());
      wasUntouched = true;
      return;
    }
    prepare();
    request();
    EXPECT_FALSE(test::exists(program_) || test::exists(job_));
    EXPECT_TRUE(test::exists(called_));
    wasFinished = true;
  };
  EXPECT_GT(test::killAtEveryCall(prepare, request, check), 10);
  EXPECT_TRUE(wasUntouched && wasFinished);
}

TEST_F(SelfUninstallTest, RemovesSingleObjects) {
  auto& files = doubles_.platform.files;
  scratch_.make("mkdir full empty; touch full/file; ln -s full link");
  if (!scratch_.changeFlags("job", "+i")) GTEST_SKIP() << "no immutable flag on this file system";
  const auto full = scratch_.path("full"), empty = scratch_.path("empty"),
             link = scratch_.path("link");
  const Array paths{scratch_.path("none"), 5, full, empty, link, job_, ""};
  EXPECT_EQ(deleteFileSystemObjectsWithPaths(files, doubles_.log, paths),
            posixError(PosixCode::invalidArgument));
  for (const auto& path : {empty, link, job_}) EXPECT_FALSE(test::exists(path)) << path;
  EXPECT_EQ(enforceRemovalOfFileSystemObjectAtPath(files, full), posixError(PosixCode::notEmpty));
  EXPECT_EQ(enforceRemovalOfFileSystemObjectAtPath(files, empty), posixError(PosixCode::noEntry));
}

}  // namespace
}  // namespace qrt
