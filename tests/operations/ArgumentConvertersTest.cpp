#include "operations/ArgumentConverters.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(ArgumentConverters, BooleansAreExactlyZeroAndOne) {
  bool value = false;
  EXPECT_TRUE(getBool(&value, "1"));
  for (const char* text : {"true", "", "01", "1 ", "2", "-1"}) {
    EXPECT_FALSE(getBool(&value, text)) << text;
    EXPECT_TRUE(value) << text;
  }
  EXPECT_TRUE(getBool(&value, "0"));
  EXPECT_FALSE(value);
  EXPECT_TRUE(getBool(nullptr, "1"));
}

TEST(ArgumentConverters, ValuesByType) {
  using enum CoreFoundationType;
  using Value = std::optional<PropertyValue>;
  const Value none;
  const auto check = [](CoreFoundationType type, std::optional<std::string> text, Value wanted) {
    EXPECT_EQ(copyCoreFoundationValueWithType(type, text), wanted) << text.value_or("nothing");
  };
  check(boolean, "true", true);
  check(boolean, "false", false);
  check(boolean, "1", none);
  check(number, " \n-7 rest", -7);
  check(number, "+-5", 0);
  check(number, "", 0);
  check(number, "99999999999999999999", INT64_MAX);
  check(number, "-99999999999999999999", INT64_MIN);
  check(string, "%41", "%41");
  check(data, "%-1", none);
  check(data, " %41", none);
  check(data, "%4", none);
  check(data, "%100", none);
  check(data, "%0x41%42", none);
  check(data, "% \t41", Data({0x41}));
  // Any number of digits; one byte for each three characters, what follows is not looked at.
  check(data, "%1%2%3", Data({1, 2}));
  check(data, "%0041%42", Data({0x41, 0x42}));
  // Characters count, not their bytes.
  check(data, "%41\xc3\xa9\xc3\xa9", Data({0x41}));
  check(data, "%41\xc3\xa9\xc3\xa9\xc3\xa9", none);
  check(other, "true", none);
  check(string, std::nullopt, none);
}

}  // namespace
}  // namespace qrt
