#include <algorithm>
#include <climits>
#include <future>

#include "contract/ContractTest.h"
#include "platform/CallerProcess.h"
#include "platform/FileSystem.h"
#include "platform/JobControl.h"
#include "platform/ProcessTable.h"
#include "platform/SelfProcess.h"
#include "platform/Subprocess.h"
#include "platform/Terminal.h"
#include "platform/UserDirectory.h"

namespace qrt {
namespace {

using ProcessesContract = test::ContractTest;

TEST_F(ProcessesContract, TheProcessTableHasThisProcess) {
  const auto processes = platform().processes.processes();
  ASSERT_TRUE(processes);
  const auto own = std::find_if(processes->begin(), processes->end(),
                                [](const auto& record) { return record.identifier == getpid(); });
  ASSERT_NE(own, processes->end());
  const auto kept = platform().processes.keptNameLength();
  EXPECT_EQ(own->name, std::string("test_contract").substr(0, kept));
  EXPECT_EQ(own->effectiveUserID, geteuid());
  constexpr int onlyAsk = 0;
  EXPECT_EQ(platform().processes.sendSignal(getpid(), onlyAsk), PosixCode::success);
  EXPECT_EQ(platform().processes.sendSignal(INT_MAX, onlyAsk), PosixCode::noProcess);
}

TEST_F(ProcessesContract, ThisProcessIsKnown) {
  EXPECT_EQ(platform().self.realUserID(), getuid());
  const auto caller = makeNativeCallerProcess();
  EXPECT_EQ(caller->processIdentifier(), getpid());
  EXPECT_EQ(*caller->currentFolder(), *platform().files.resolvedPath("."));
  EXPECT_GT(makeNativeTerminal()->columns(), 0u);
}

TEST_F(ProcessesContract, UsersAreKnownListedOrNot) {
  const auto ids = platform().users.listedUserIDs();
  EXPECT_EQ(ids.count(0), 1u);
  for (const auto id : ids) EXPECT_TRUE(platform().users.isKnownUserID(id)) << id;
  EXPECT_FALSE(platform().users.isKnownUserID(1234567890));
}

TEST_F(ProcessesContract, ListingsAtTheSameTimeAreComplete) {
  const auto list = [this] { return platform().users.listedUserIDs(); };
  const auto listed = list();
  std::future<UserIDs> lists[8];
  for (auto& each : lists) each = std::async(std::launch::async, list);
  for (auto& each : lists) EXPECT_EQ(each.get(), listed);
}

TEST_F(ProcessesContract, AChildReportsItsStreamsAndItsStatus) {
  auto child = Subprocess::prepare();
  ASSERT_TRUE(child);
  const std::vector<std::string> arguments{"-c", "echo \"$CONTRACT\"; echo wrong >&2; exit 3"};
  const EnvironmentChanges environment{{"CONTRACT", "kept"}};
  ASSERT_EQ((*child)->launch({"/bin/sh", arguments, environment}), PosixCode::success);
  std::string output;
  std::string errors;
  const auto sink = [&](StandardStream stream, std::span<const std::uint8_t> bytes) {
    (stream == StandardStream::output ? output : errors).append(bytes.begin(), bytes.end());
  };
  EXPECT_EQ((*child)->waitUntilExit(sink), 3);
  (*child)->drain(sink);
  EXPECT_EQ(output, "kept\n");
  EXPECT_EQ(errors, "wrong\n");

  auto missing = Subprocess::prepare();
  EXPECT_EQ((*missing)->launch({"/no/such/program", {}, environment}), PosixCode::noEntry);
}

TEST_F(ProcessesContract, JobsAreRemovedByAToolOfTheSystem) {
  EXPECT_EQ(platform().jobControl.removalTool().front(), '/');
  const auto runs = platform().jobControl.removalRuns(test::uniqueName());
  ASSERT_FALSE(runs.empty());
  for (const auto& arguments : runs) EXPECT_TRUE(arguments.back().starts_with(test::uniqueName()));
}

}  // namespace
}  // namespace qrt
