#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <thread>

#include "client/cli/ProgressDisplay.h"
#include "client/cli/ProgressLine.h"
#include "support/FakeTerminal.h"

namespace qrt {
namespace {

using std::chrono::milliseconds;
using test::FakeTerminal;

const ProgressLine::TimePoint start{std::chrono::hours(5)};

TEST(ProgressLine, IsRedrawnInPlaceAndTakenAway) {
  FakeTerminal terminal;
  terminal.width = 41;
  ProgressLine line(terminal, "nop", start);
  line.setFraction(0, start);
  line.setFraction(0.1, start + milliseconds(99));
  EXPECT_EQ(terminal.take(), "");

  line.tick(start + milliseconds(100));
  EXPECT_EQ(terminal.take(), "\rnop  [##..................]   10 %  0:00");
  line.setFraction(0.5, start + milliseconds(199));
  EXPECT_EQ(terminal.take(), "");
  line.tick(start + milliseconds(200));
  EXPECT_EQ(terminal.take(), "\rnop  [##########..........]   50 %  0:00");
  line.tick(start + milliseconds(999));
  EXPECT_EQ(terminal.take(), "");
  line.tick(start + milliseconds(1000));
  EXPECT_EQ(terminal.take(), "\rnop  [##########..........]   50 %  0:01");

  line.hide();
  EXPECT_EQ(terminal.take(), "\r" + std::string(40, ' ') + "\r");
  line.hide();
  EXPECT_EQ(terminal.take(), "");
  line.tick(start + milliseconds(1100));
  EXPECT_EQ(terminal.take(), "\rnop  [##########..........]   50 %  0:01");

  line.finish(start + milliseconds(1150));
  EXPECT_EQ(terminal.take(), "\rnop  [####################]  100 %  0:01\n");
}

TEST(ProgressLine, AnOperationThatEndsAtOnceShowsNothing) {
  FakeTerminal terminal;
  ProgressLine line(terminal, "nop", start);
  line.setFraction(0, start);
  line.setFraction(1, start + milliseconds(90));
  line.finish(start + milliseconds(95));
  line.hide();
  EXPECT_EQ(terminal.take(), "");
}

TEST(ProgressLine, NeverReachesTheLastColumn) {
  for (std::size_t width = 1; width < 120; ++width) {
    FakeTerminal terminal;
    terminal.width = width;
    ProgressLine line(terminal, "delete-foldercontents", start);
    line.setFraction(0.5, start + std::chrono::hours(30));
    const auto drawn = terminal.take();
    ASSERT_EQ(drawn.front(), '\r');
    EXPECT_LE(drawn.size() - 1, std::max<std::size_t>(width, 2) - 1) << width;
    const bool hasRoomForFigures = width >= 16;
    EXPECT_EQ(drawn.find(" 50 %  30:00:00") != std::string::npos, hasRoomForFigures) << width;

    // A terminal that has become narrower is not wrapped by blanks either.
    terminal.width = width / 2;
    line.tick(start + std::chrono::hours(31));
    EXPECT_LE(terminal.take().size(), std::max<std::size_t>(width / 2, 2)) << width;
  }
}

TEST(ProgressLine, TakesAnyNumberForAFraction) {
  const std::pair<double, const char*> cases[] = {
      {std::numeric_limits<double>::quiet_NaN(), "  0 %"}, {0.999999, " 99 %"}, {7, "100 %"}};
  for (const auto& [fraction, shown] : cases) {
    FakeTerminal terminal;
    ProgressLine line(terminal, "nop", start);
    line.setFraction(fraction, start + milliseconds(300));
    EXPECT_NE(terminal.take().find(shown), std::string::npos) << fraction;
  }
}

TEST(ProgressDisplay, WithoutATerminalEachNewTenthIsALine) {
  FakeTerminal terminal;
  const auto display = makeProgressDisplay(terminal, "nop");
  for (const double fraction : {0.0, 0.05, 0.1, 0.12, 0.11, 0.39, 0.3, -1.0, 1.0, 1.0, 2.0}) {
    display->setFraction(fraction);
  }
  display->makeRoom();
  display->end(true);
  EXPECT_EQ(terminal.take(), "nop: 10 %\nnop: 30 %\nnop: 100 %\n");
}

TEST(ProgressDisplay, OnATerminalTheTimeGoesOnByItself) {
  FakeTerminal terminal;
  terminal.terminals = {StandardStream::error};
  const auto display = makeProgressDisplay(terminal, "nop");
  display->setFraction(0.5);
  // Nothing but the time can make the line different.
  std::string drawn;
  for (int i = 0; i < 1000 && std::count(drawn.begin(), drawn.end(), '\r') < 2; ++i) {
    std::this_thread::sleep_for(milliseconds(10));
    drawn += terminal.take();
  }
  EXPECT_THAT(drawn, testing::MatchesRegex("(\r[^\r]+ 50 %  0:0[0-9]){2,}"));
  display->end(false);
  EXPECT_THAT(terminal.take(), testing::EndsWith("\r"));
  std::this_thread::sleep_for(milliseconds(250));
  EXPECT_EQ(terminal.take(), "");
}

}  // namespace
}  // namespace qrt
