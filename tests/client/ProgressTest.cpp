// The progress on standard error, with and without a terminal.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

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
      {99, 0.1, ""},           {100, std::nullopt, "\rnop  [##..................]   10 %  0:00"},
      {199, 0.5, ""},          {200, std::nullopt, "\rnop  [##########..........]   50 %  0:00"},
      {999, std::nullopt, ""}, {1000, std::nullopt, "\rnop  [##########..........]   50 %  0:01"}};
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
  line.finish(start + milliseconds(1150));
  EXPECT_EQ(terminal.take(), "\rnop  [####################]  100 %  0:01\n");
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

}  // namespace
}  // namespace qrt
