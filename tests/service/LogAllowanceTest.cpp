#include "service/LogAllowance.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

using Reports = std::vector<LogAllowance::Report>;
using std::chrono::milliseconds;
using std::chrono::seconds;

const LogAllowance::Clock::time_point start(seconds(1000));

TEST(LogAllowance, AFloodIsCutToOneHundredLinesASecondAfterABurstOfOneThousand) {
  LogAllowance allowance;
  auto now = start;
  std::uint64_t dropped = 0, reported = 0;
  /// How many of a thousand lines each second are written.
  const auto flood = [&](std::uint32_t user, seconds duration) {
    std::uint64_t written = 0;
    for (const auto end = now + duration; now < end; now += milliseconds(1)) {
      for (const auto& report : allowance.takeReports(now)) {
        ++written;
        reported += report.dropped;
      }
      const bool isAdmitted = allowance.admits(user, now);
      if (!isAdmitted) allowance.addDropped(user, 1);
      ++(isAdmitted ? written : dropped);
    }
    return written;
  };
  EXPECT_EQ(flood(0, seconds(2)), 2000u) << "root has no limit";
  EXPECT_NEAR(flood(1000, seconds(20)), 1000 + 20 * 100, 200);
  EXPECT_NEAR(flood(1000, seconds(100)), 100 * 100, 200);
  while (allowance.admits(1001, now)) continue;
  EXPECT_TRUE(allowance.admits(1002, now)) << "each user has an allowance of its own";
  for (const auto& report : allowance.takeReports(now + seconds(2))) reported += report.dropped;
  EXPECT_EQ(reported, dropped);
}

TEST(LogAllowance, ACountIsReportedOnceWhenTheUserMayWriteAgain) {
  LogAllowance allowance;
  while (allowance.admits(1000, start)) continue;
  allowance.addDropped(1000, 3);
  allowance.addDropped(1001, 3);
  EXPECT_EQ(allowance.takeReports(start), Reports());
  EXPECT_FALSE(allowance.admits(1000, start + milliseconds(900)));
  EXPECT_EQ(allowance.takeReports(start + seconds(1)), (Reports{{1000, 3}}));
  EXPECT_TRUE(allowance.admits(1000, start + seconds(1)));
  EXPECT_EQ(allowance.takeReports(start + seconds(3)), Reports());
  allowance.addDropped(1000, 4);
  EXPECT_EQ(allowance.takeAllReports(), (Reports{{1000, 4}}));
  // The account is full again and dropped.
  EXPECT_EQ(allowance.takeReports(start + seconds(30)), Reports());
  allowance.addDropped(1000, 5);
  EXPECT_EQ(allowance.takeAllReports(), Reports());
}

}  // namespace
}  // namespace qrt
