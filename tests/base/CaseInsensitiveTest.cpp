#include "base/CaseInsensitive.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(CaseInsensitive, OrdersCharactersInLowerCase) {
  for (const auto& [a, b] : {std::pair("mAIL", "Mail"), {"\u00C4rger", "\u00E4rger"}}) {
    EXPECT_TRUE(compareIgnoringCase(a, b) == 0) << a;
  }
  for (const auto& [a, b] : {std::pair("", "a"), {"a", "B"}, {"A", "aa"}, {"z", "\xC4"}}) {
    EXPECT_TRUE(compareIgnoringCase(a, b) < 0 && compareIgnoringCase(b, a) > 0) << a << " " << b;
  }
}

}  // namespace
}  // namespace qrt
