#include "client/cli/AnswerText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace qrt {
namespace {

TEST(AnswerTextTest, CodesThatHaveAMeaningAreTold) {
  EXPECT_EQ(answerText("ObjectExistence", 0), "nothing there");
  EXPECT_EQ(answerText("ObjectExistence", 1.0), "folder");
  EXPECT_EQ(answerText("ObjectExistence", 2), "object that is not a folder");
  EXPECT_EQ(answerText("ObjectExistence", 3), "3");
  EXPECT_EQ(answerText("installed", 1), "1");
  EXPECT_EQ(answerText("ObjectExistence", "text\x1b"), "text\\x1b");
}

TEST(AnswerTextTest, SizesAreReadableAndExact) {
  const std::pair<std::uint64_t, const char*> cases[] = {
      {0, "0 B"},
      {999, "999 B"},
      {1000, "1.0 kB (1000 bytes)"},
      {9949, "9.9 kB (9949 bytes)"},
      {9950, "10 kB (9950 bytes)"},
      {999'499, "999 kB (999499 bytes)"},
      {999'500, "1.0 MB (999500 bytes)"},
      {std::numeric_limits<std::uint64_t>::max(), "18 EB (18446744073709551615 bytes)"}};
  for (const auto& [size, text] : cases) EXPECT_EQ(answerText("Size", size), text);
}

}  // namespace
}  // namespace qrt
