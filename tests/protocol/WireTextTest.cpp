#include "protocol/WireText.h"

#include <gtest/gtest.h>

#include "base/Utf8.h"

namespace qrt {
namespace {

TEST(WireText, ValidTextTravelsAsItIs) {
  for (const auto* text : {"", "plain", "gr\xC3\xBC\xC3\x9F", "\xF0\x9F\x98\x80", "\xEF\xBF\xBF"}) {
    EXPECT_EQ(encodeWireText(text), text);
  }
}

TEST(WireText, EachByteOutsideUtf8BecomesOneCharacter) {
  EXPECT_EQ(encodeWireText("a\xFF"), "a\xF4\x8F\xBF\xBF");
  EXPECT_EQ(encodeWireText("\xC3"), "\xF4\x8F\xBF\x83");  // Cut short.
  EXPECT_EQ(encodeWireText("\xC0\x80").size(), 8u);       // Overlong.
  EXPECT_EQ(encodeWireText("\xED\xA0\x80").size(), 12u);  // Surrogate.
}

TEST(WireText, EveryByteStringSurvivesTheJourney) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
  const std::string looksEscaped = "\xF4\x8F\xBF\xBF and \xF4\x8F\xBC\x80";
  for (const auto& bytes : {all, looksEscaped, all + looksEscaped}) {
    const auto text = encodeWireText(bytes);
    EXPECT_TRUE(isValidUtf8(text));
    EXPECT_EQ(decodeWireText(text), bytes);
  }
}

TEST(WireText, NoTextDecodesToAByteThatPathsAreMadeOf) {
  const std::string slash = "\xF4\x8F\xBC\xAF", zero = "\xF4\x8F\xBC\x80";
  EXPECT_EQ(decodeWireText(slash), slash);
  EXPECT_EQ(decodeWireText(zero), zero);
  EXPECT_EQ(encodeWireText(std::string_view("\0", 1)), zero);
}

}  // namespace
}  // namespace qrt
