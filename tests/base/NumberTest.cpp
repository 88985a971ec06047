#include "base/Number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace qrt {
namespace {

constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();
constexpr auto largestUnsigned = std::numeric_limits<std::uint64_t>::max();

TEST(Number, DoublesTruncateAndSaturate) {
  struct Case {
    double value;
    std::int64_t asSigned;
    std::uint64_t asUnsigned;
  };
  const Case cases[] = {{1.9, 1, 1},
                        {-1.9, -1, 0},
                        {1e300, largest, largestUnsigned},
                        {-1e300, smallest, 0},
                        {0x1p63, largest, std::uint64_t{1} << 63},
                        {0x1p64, largest, largestUnsigned},
                        {std::nan(""), 0, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(Number(c.value).asInt64(), c.asSigned) << c.value;
    EXPECT_EQ(Number(c.value).asUInt64(), c.asUnsigned) << c.value;
  }
}

TEST(Number, IntegersKeepTheirBits) {
  EXPECT_EQ(Number(largestUnsigned).asInt64(), -1);
  EXPECT_EQ(Number(-1).asUInt64(), largestUnsigned);
  EXPECT_TRUE(Number(-1).asBool());
  EXPECT_FALSE(Number(0.0).asBool());
}

TEST(Number, EqualityIsNumeric) {
  EXPECT_EQ(Number(true), Number(1.0));
  EXPECT_EQ(Number(7u), Number(7));
  EXPECT_FALSE(Number(-1) == Number(largestUnsigned));
}

}  // namespace
}  // namespace qrt
