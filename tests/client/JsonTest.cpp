#include "client/cli/Json.h"

#include <gtest/gtest.h>

#include <limits>

namespace qrt {
namespace {

TEST(Json, KeepsEveryValueExactly) {
  struct Case {
    PropertyValue value;
    std::string expected;
  };
  const Case cases[] = {
      {"gr\xC3\xBC\xC3\x9F \"\\\n", "\"gr\xC3\xBC\xC3\x9F \\\"\\\\\\n\""},
      {"bad \xFF", "\"bad \xF4\x8F\xBF\xBF\""},
      {true, "true"},
      {std::numeric_limits<std::uint64_t>::max(), "18446744073709551615"},
      {1.0, "1.0"},
      {1.0 / 3, "0.3333333333333333"},
      {Data{0xFB, 0xFF}, "\"+/8=\""},
      {Data{'M', 'a', 'n', '!'}, "\"TWFuIQ==\""},
      {Date{1500000000.25}, "1500000000.25"},
      {Array{1, "a", Array{false}}, "[1,\"a\",[false]]"},
      {Dictionary{{"b\xFF", 1}, {"a", Dictionary{{"c", 2}}}},
       "{\"a\":{\"c\":2},\"b\xF4\x8F\xBF\xBF\":1}"},
  };
  for (const auto& [value, expected] : cases) EXPECT_EQ(jsonOf(value).dump(), expected);
}

TEST(Json, AnErrorTellsItsTextsAndItsCauses) {
  const Error cause = posixError(PosixCode::noEntry);
  const Error error{"D",
                    -7,
                    {{std::string(localizedDescriptionKey), "Bad"},
                     {std::string(localizedRecoverySuggestionKey), "Do it"},
                     {std::string(underlyingErrorKey), cause}}};
  const auto* const expected =
      R"json({"domain":"D","code":-7,"description":"Bad","suggestion":"Do it","userInfo":{)json"
      R"json("NSLocalizedDescription":"Bad","NSLocalizedRecoverySuggestion":"Do it",)json"
      R"json("NSUnderlyingError":{"domain":"NSPOSIXErrorDomain","code":2,)json"
      R"json("description":"No such file or directory (POSIX error 2)","userInfo":{}}}})json"
      "\n";
  EXPECT_EQ(lineOf(jsonOf(error)), expected);
}

}  // namespace
}  // namespace qrt
