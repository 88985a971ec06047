#include "base/Number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qrt {
namespace {

constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
constexpr auto largestUnsigned = std::numeric_limits<std::uint64_t>::max();

TEST(Number, DoublesTruncateAndSaturateAndIntegersKeepTheirBits) {
  const struct {
    Number number;
    std::int64_t asSigned;
    std::uint64_t asUnsigned;
  } cases[] = {{1.9, 1, 1},
               {-1.9, -1, 0},
               {-1e300, smallest, 0},
               {0x1p63, largest, std::uint64_t{1} << 63},
               {0x1p64, largest, largestUnsigned},
               {std::nan(""), 0, 0},
               {largestUnsigned, -1, largestUnsigned},
               {-1, -1, largestUnsigned}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.number.asInt64(), c.asSigned) << c.number.asDouble();
    EXPECT_EQ(c.number.asUInt64(), c.asUnsigned) << c.number.asDouble();
  }
}

TEST(Number, EqualNumbersOfDifferentTypesAreEqual) {
  EXPECT_EQ(Number(true), Number(1.0));
  EXPECT_EQ(Number(7u), Number(7));
  EXPECT_FALSE(Number(-1) == Number(largestUnsigned));
  EXPECT_TRUE(Number(-1).asBool() && !Number(0.0).asBool());
}

}  // namespace
}  // namespace qrt
