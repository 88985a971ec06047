#include "base/CaseInsensitive.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(CaseInsensitive, OrdersCharactersInLowerCase) {
  struct Case {
    const char *a, *b;
    std::weak_ordering order;
  };
  constexpr auto less = std::weak_ordering::less;
  constexpr auto same = std::weak_ordering::equivalent;
  for (const auto& c :
       {Case{"Mail", "mAIL", same}, Case{"", "", same}, Case{"", "a", less}, Case{"a", "B", less},
        Case{"A", "aa", less}, Case{"\xC3\x84rger", "\xC3\xA4rger", same},
        Case{"\xD0\x96", "\xD0\xB6", same}, Case{"z", "\xC3\x84", less}, Case{"z", "\xC4", less}}) {
    EXPECT_TRUE(compareIgnoringCase(c.a, c.b) == c.order) << c.a << " " << c.b;
    EXPECT_EQ(compareIgnoringCase(c.b, c.a) > 0, c.order < 0) << c.a << " " << c.b;
  }
}

}  // namespace
}  // namespace qrt
