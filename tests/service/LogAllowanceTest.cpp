#include "service/LogAllowance.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

using Reports = std::vector<LogAllowance::Report>;
using std::chrono::milliseconds;
using std::chrono::seconds;

class LogAllowanceTest : public testing::Test {
 protected:
  /// How many of a thousand lines each second are written in that time.
  int flood(std::uint32_t user, seconds duration) {
    int written = 0;
    for (const auto end = now_ + duration; now_ < end; now_ += milliseconds(1)) {
      for (const auto& report : allowance_.takeReports(now_)) {
        ++written;
        reported_ += report.dropped;
      }
      allowance_.admits(user, now_) ? ++written : ++dropped_;
      if (dropped_ > counted_) allowance_.addDropped(user, 1), ++counted_;
    }
    return written;
  }

  LogAllowance allowance_;
  LogAllowance::Clock::time_point now_{seconds(1000)};
  std::uint64_t dropped_ = 0, counted_ = 0, reported_ = 0;
};

TEST_F(LogAllowanceTest, AFloodIsCutToOneHundredLinesASecondAfterABurstOfOneThousand) {
  EXPECT_EQ(flood(0, seconds(2)), 2000) << "root has no limit";
  EXPECT_NEAR(flood(1000, seconds(20)), 1000 + 20 * 100, 200);
  EXPECT_NEAR(flood(1000, seconds(100)), 100 * 100, 200);
  while (allowance_.admits(1001, now_)) continue;
  EXPECT_TRUE(allowance_.admits(1002, now_)) << "each user has an allowance of its own";
  now_ += seconds(2);
  for (const auto& report : allowance_.takeReports(now_)) reported_ += report.dropped;
  EXPECT_EQ(reported_, dropped_);
}

TEST_F(LogAllowanceTest, CountsAreReportedOnceWhenTheUserMayWriteAgain) {
  while (allowance_.admits(1000, now_)) continue;
  allowance_.addDropped(1000, 3);
  allowance_.addDropped(1001, 3);
  EXPECT_EQ(allowance_.takeReports(now_), Reports());
  EXPECT_FALSE(allowance_.admits(1000, now_ + milliseconds(900)));
  EXPECT_EQ(allowance_.takeReports(now_ + seconds(1)), (Reports{{1000, 3}}));
  EXPECT_TRUE(allowance_.admits(1000, now_ + seconds(1)));
  EXPECT_EQ(allowance_.takeReports(now_ + seconds(3)), Reports());
  allowance_.addDropped(1000, 4);
  EXPECT_EQ(allowance_.takeAllReports(), (Reports{{1000, 4}}));
}

}  // namespace
}  // namespace qrt
