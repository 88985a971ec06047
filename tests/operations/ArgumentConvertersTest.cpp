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
}

TEST(ArgumentConverters, ATextHasOneValueOfEachType) {
  using enum CoreFoundationType;
  const std::optional<PropertyValue> none;
  const std::tuple<CoreFoundationType, std::optional<std::string>, std::optional<PropertyValue>>
      cases[] = {{boolean, "true", true},
                 {boolean, "1", none},
                 {number, " \n-7 rest", -7},
                 {number, "99999999999999999999", INT64_MAX},
                 {string, "%41", "%41"},
                 {data, "%-1", none},
                 {data, "%0x41%42", none},
                 {data, "% \t41", Data{0x41}},
                 // Any number of digits, at most one byte for three characters of the text.
                 {data, "%1%2%3", Data{1, 2}},
                 {data, "%0041%42", Data{0x41, 0x42}},
                 {data, "%41\xc3\xa9\xc3\xa9", Data{0x41}},
                 {data, "%41\xc3\xa9\xc3\xa9\xc3\xa9", none},
                 {string, std::nullopt, none}};
  for (const auto& [type, text, value] : cases) {
    EXPECT_EQ(copyCoreFoundationValueWithType(type, text), value) << text.value_or("nothing");
  }
}

}  // namespace
}  // namespace qrt
