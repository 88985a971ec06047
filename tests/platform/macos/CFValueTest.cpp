#include "platform/macos/CFValue.h"

#include <gtest/gtest.h>

#include <limits>

namespace qrt {
namespace {

using Units = std::vector<UniChar>;

CFOwner<CFStringRef> stringOf(const Units& units) {
  return CFOwner<CFStringRef>(
      CFStringCreateWithCharacters(nullptr, units.data(), static_cast<CFIndex>(units.size())));
}

TEST(CFValue, TextKeepsEveryUnitOfAString) {
  const std::pair<Units, std::string> rows[] = {
      {{'a', 0, 0xE9, 0x20AC}, std::string("a\0\xC3\xA9\xE2\x82\xAC", 7)},
      {{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
      {{'/', 'x', '/', 0xD800, 'y'}, "/x/\xED\xA0\x80y"},
      {{0xDC00, 0xD800}, "\xED\xB0\x80\xED\xA0\x80"},
      {{0xD800, 0xD83D, 0xDE00}, "\xED\xA0\x80\xF0\x9F\x98\x80"},
  };
  for (const auto& [units, text] : rows) EXPECT_EQ(textFrom(stringOf(units).get()), text);
}

TEST(CFValue, ValuesOfEveryKindComeBack) {
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  constexpr auto most = std::numeric_limits<std::uint64_t>::max();
  const Number numbers[] = {false, true, 0, least, -1 - least, most / 2 + 1, most, 0x1p63, -0x1p70};
  for (const auto& number : numbers) {
    const auto value = valueFrom(cfValue(number).get());
    ASSERT_TRUE(value && value->number()) << number.asDouble();
    EXPECT_EQ(value->number()->storage(), number.storage()) << number.asDouble();
  }
  const Dictionary others{{"text", "\xC3\xA4"},
                          {"data", Data{0, 255}},
                          {"date", Date{1.5}},
                          {"array", Array{Array{}, Dictionary{{"", 1}}}},
                          {"error", Error{"domain", -7, {{"cause", posixError(PosixCode::busy)}}}}};
  EXPECT_EQ(valueFrom(cfValue(others).get()), PropertyValue(others));
}

TEST(CFValue, RefusesWhatIsNoValue) {
  EXPECT_FALSE(cfValue(Array{"no text \xFF"}));
  EXPECT_FALSE(cfValue(Dictionary{{"\xFF", 1}}));
  EXPECT_FALSE(cfPath(std::string("a\0b", 3)));
  EXPECT_FALSE(valueFrom(nullptr));
  EXPECT_FALSE(valueFrom(kCFNull));
  PropertyValue nested = Array{};
  for (int depth = 1; depth < 512; ++depth) nested = Array{std::move(nested)};
  EXPECT_TRUE(valueFrom(cfValue(nested).get()));
  EXPECT_FALSE(valueFrom(cfValue(Array{std::move(nested)}).get()));
}

}  // namespace
}  // namespace qrt
