#include "protocol/WireText.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(WireText, AnInvalidByteBecomesACharacterAndIsRestored) {
  const std::pair<std::string, std::string> cases[] = {
      {"gr\u00FC\u00DF \U0001F600 \uFFFF", "gr\u00FC\u00DF \U0001F600 \uFFFF"},
      {"a\xFF", "a\xF4\x8F\xBF\xBF"},
      {"\xC3", "\xF4\x8F\xBF\x83"},                                          // Cut short.
      {"\xC0\x80", "\xF4\x8F\xBF\x80\xF4\x8F\xBE\x80"},                      // Overlong.
      {"\xED\xA0\x80", "\xF4\x8F\xBF\xAD\xF4\x8F\xBE\xA0\xF4\x8F\xBE\x80"},  // Surrogate.
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(encodeWireText(bytes), text);
    EXPECT_EQ(decodeWireText(text), bytes);
  }
}

TEST(WireText, NoTextDecodesToASlashOrAZeroByte) {
  const std::string slash = "\xF4\x8F\xBC\xAF", zero = "\xF4\x8F\xBC\x80";
  EXPECT_EQ(decodeWireText(slash), slash);
  EXPECT_EQ(decodeWireText(zero), zero);
  EXPECT_EQ(encodeWireText(std::string_view("\0", 1)), zero);
}

}  // namespace
}  // namespace qrt
