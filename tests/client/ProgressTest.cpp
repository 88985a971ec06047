// The progress on standard error, with and without a terminal.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "client/cli/output/ProgressDisplay.h"
#include "client/cli/output/ProgressLine.h"
#include "support/FakeTerminal.h"

namespace qrt {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using test::FakeTerminal;

const ProgressLine::TimePoint start{hours(5)};

TEST(ProgressLine, IsRedrawnInPlaceWhenItChanges) {
  const std::tuple<int, std::optional<double>, const char*> steps[] = {
      {0, 0.0, ""},
      {99, 0.1, ""},
      {100, std::nullopt, "\rnop  [##..................]   10 %  0:00"},
      {199, 0.5, ""},
      {200, std::nullopt, "\rnop  [##########..........]   50 %  0:00"},
      {999, std::nullopt, ""},
      {1000, std::nullopt, "\rnop  [##########..........]   50 %  0:01"}};
  FakeTerminal terminal;
  terminal.width = 41;
  ProgressLine line(terminal, "nop", start);
  for (const auto& [time, fraction, drawn] : steps) {
    if (fraction) line.setFraction(*fraction, start + milliseconds(time));
    line.tick(start + milliseconds(time));
    EXPECT_EQ(terminal.take(), drawn) << time;
  }
  line.hide();
  EXPECT_EQ(terminal.take(), "\r" + std::string(40, ' ') + "\r");
  line.hide();
  EXPECT_EQ(terminal.take(), "");
  line.finish(start + milliseconds(1150));
  EXPECT_EQ(terminal.take(), "\rnop  [####################]  100 %  0:01\n");

  ProgressLine quick(terminal, "nop", start);
  quick.setFraction(1, start + milliseconds(90));
  quick.finish(start + milliseconds(95));
  EXPECT_EQ(terminal.take(), "") << "an operation that ends at once";
}

TEST(ProgressLine, NeverReachesTheLastColumn) {
  for (std::size_t width = 1; width < 120; ++width) {
    FakeTerminal terminal;
    terminal.width = width;
    ProgressLine line(terminal, "delete-foldercontents", start);
    line.setFraction(0.5, start + hours(30));
    const auto drawn = terminal.take();
    EXPECT_LE(drawn.size() - 1, std::max<std::size_t>(width, 2) - 1) << width;
    const bool hasRoomForFigures = width >= 16;
    EXPECT_EQ(drawn.find(" 50 %  30:00:00") != std::string::npos, hasRoomForFigures) << width;

    terminal.width = width / 2;
    line.tick(start + hours(31));
    EXPECT_LE(terminal.take().size(), std::max<std::size_t>(width / 2, 2))
        << "narrower than before";
  }
}

TEST(ProgressDisplay, WithoutATerminalEachNewTenthIsALine) {
  FakeTerminal terminal;
  const auto display = makeProgressDisplay(terminal, "nop");
  for (const double fraction : {0.0, 0.1, 0.12, 0.11, 0.39, 0.3, 1.0, 1.0}) {
    display->setFraction(fraction);
  }
  display->end(true);
  EXPECT_EQ(terminal.take(), "nop: 10 %\nnop: 30 %\nnop: 100 %\n");
}

}  // namespace
}  // namespace qrt
