#include <algorithm>
#include <climits>
#include <future>

#include "contract/ContractTest.h"
#include "platform/ProcessTable.h"
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

TEST_F(ProcessesContract, UsersAreKnownListedOrNot) {
  const auto list = [this] { return platform().users.listedUserIDs(); };
  const auto listed = list();
  EXPECT_EQ(listed.count(0), 1u);
  for (const auto id : listed) EXPECT_TRUE(platform().users.isKnownUserID(id)) << id;
  EXPECT_FALSE(platform().users.isKnownUserID(1234567890));
  std::future<UserIDs> atTheSameTime[8];
  for (auto& each : atTheSameTime) each = std::async(std::launch::async, list);
  for (auto& each : atTheSameTime) EXPECT_EQ(each.get(), listed);
}

}  // namespace
}  // namespace qrt
