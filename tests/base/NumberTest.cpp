#include "base/Number.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qrt {
namespace {

TEST(Number, DoublesTruncateAndSaturateAndIntegersKeepTheirBits) {
  const std::tuple<Number, std::int64_t, std::uint64_t> cases[] = {
      {-1.9, -1, 0},
      {-1e300, INT64_MIN, 0},
      {0x1p63, INT64_MAX, std::uint64_t{1} << 63},
      {0x1p64, INT64_MAX, UINT64_MAX},
      {std::nan(""), 0, 0},
      {UINT64_MAX, -1, UINT64_MAX}};
  for (const auto& [number, asSigned, asUnsigned] : cases) {
    EXPECT_EQ(number.asInt64(), asSigned) << number.asDouble();
    EXPECT_EQ(number.asUInt64(), asUnsigned) << number.asDouble();
  }
}

TEST(Number, EqualNumbersOfDifferentTypesAreEqual) {
  EXPECT_EQ(Number(true), Number(1.0));
  EXPECT_EQ(Number(7u), Number(7));
  EXPECT_FALSE(Number(-1) == Number(UINT64_MAX));
}

}  // namespace
}  // namespace qrt
