#include "platform/linux/WireReader.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "platform/linux/MessageFrame.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

using test::WireBytes;

WireReader reader(const WireBytes& bytes) { return {bytes.bytes(), /*bigEndian=*/false}; }

TEST(WireReader, ReadsEveryKindOfValue) {
  WireBytes bytes;
  bytes.array(1, [](WireBytes& a) {
    a.signature("s").string("text");
    a.signature("b").u32(1);
    a.signature("y").byte(200);
    a.signature("n").align(2).byte(0xFE).byte(0xFF);
    a.signature("q").align(2).byte(0xFE).byte(0xFF);
    a.signature("i").u32(0xFFFFFFFF);
    a.signature("u").u32(0xFFFFFFFF);
    a.signature("x").u64(0xFFFFFFFFFFFFFFFF);
    a.signature("t").u64(0xFFFFFFFFFFFFFFFF);
    a.signature("d").u64(0x3FF8000000000000);
    a.signature("ay").array(1, [](WireBytes& data) { data.byte(1).byte(2); });
    a.signature("(d)").u64(0x3FF8000000000000);
    a.signature("av").array(1, [](WireBytes& inner) { inner.signature("y").byte(7); });
    a.signature("a{sv}").array(8, [](WireBytes& entries) {
      entries.align(8).string("key").signature("s").string("value");
    });
    a.signature("(sxa{sv})").align(8).string("domain").u64(5).array(8, [](WireBytes&) {});
  });
  auto from = reader(bytes);
  const auto values = from.array();
  EXPECT_TRUE(from.atEnd());
  EXPECT_EQ(values, (Array{"text", true, 200, -2, 65534, -1, 4294967295u, -1,
                           std::numeric_limits<std::uint64_t>::max(), 1.5, Data{1, 2}, Date{1.5},
                           Array{7}, Dictionary{{"key", "value"}}, Error{"domain", 5, {}}}));
}

TEST(WireReader, BytesOfFileNamesComeBack) {
  WireBytes bytes;
  bytes.string("\xF4\x8F\xBF\xBF\xF4\x8F\xBF\xBE");
  EXPECT_EQ(reader(bytes).string(), "\xFF\xFE");
}

TEST(WireReader, BigEndianToo) {
  const std::vector<std::uint8_t> bytes{0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0};
  WireReader from(bytes, /*bigEndian=*/true);
  EXPECT_EQ(from.uint32(), 5u);
  EXPECT_EQ(from.uint64(), 256u);
  EXPECT_TRUE(from.atEnd());
}

TEST(WireReader, RefusesWhatIsMalformed) {
  const auto wraps = [](auto write) {
    WireBytes bytes;
    bytes.array(1, write);
    return bytes;
  };
  const std::pair<const char*, WireBytes> cases[] = {
      {"cut short", WireBytes().u32(100).byte(1)},
      {"array longer than the body", WireBytes().u32(0xFFFFFFFF)},
      {"string without its end", wraps([](WireBytes& a) { a.signature("s").u32(3).raw("abcd"); })},
      {"zero within a string",
       wraps([](WireBytes& a) { a.signature("s").string(std::string("a\0b", 3)); })},
      {"not UTF-8", wraps([](WireBytes& a) { a.signature("s").string("\xFF"); })},
      {"boolean of 2", wraps([](WireBytes& a) { a.signature("b").u32(2); })},
      {"dirty padding",
       wraps([](WireBytes& a) { a.signature("y").byte(1).signature("u").byte(9).u32(1); })},
      {"signature of two values", wraps([](WireBytes& a) { a.signature("ss").string("a"); })},
      {"type without a meaning", wraps([](WireBytes& a) { a.signature("o").string("/"); })},
      {"variant in a variant",
       wraps([](WireBytes& a) { a.signature("v").signature("y").byte(1); })},
      {"element that crosses the array's end",
       WireBytes().u32(5).signature("s").align(4).u32(20).raw(std::string(24, 'x'))},
  };
  for (const auto& [name, bytes] : cases) {
    auto from = reader(bytes);
    EXPECT_LT(from.array().size(), 3u) << name;
    EXPECT_FALSE(from.atEnd()) << name;
  }
}

WireBytes nested(int depth) {
  WireBytes bytes;
  const auto nest = [](auto& self, WireBytes& out, int left) -> void {
    out.array(1, [&](WireBytes& inner) {
      if (left == 1) return;
      inner.signature("av");
      self(self, inner, left - 1);
    });
  };
  nest(nest, bytes, depth);
  return bytes;
}

TEST(WireReader, BoundsDepthAndNumber) {
  for (const auto& [depth, accepted] : {std::pair{32, true}, {33, false}, {5000, false}}) {
    const auto bytes = nested(depth);
    auto from = reader(bytes);
    from.array();
    EXPECT_EQ(from.atEnd(), accepted) << depth;
  }
  WireBytes many;
  many.array(1, [](WireBytes& a) {
    for (std::size_t i = 0; i <= WireReader::maximumValues; ++i) a.signature("y").byte(0);
  });
  auto from = reader(many);
  EXPECT_LE(from.array().size(), WireReader::maximumValues + 1);
  EXPECT_FALSE(from.ok());
}

TEST(MessageFrame, MeasuresOrRefuses) {
  struct Case {
    const char* name;
    std::vector<std::uint8_t> prefix;
    std::size_t length;  // 0: refused
  };
  const Case cases[] = {
      {"little endian", {'l', 1, 0, 1, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 16 + 16 + 5},
      {"big endian", {'B', 4, 0, 1, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0, 8}, 16 + 8 + 5},
      {"byte order", {'x', 1, 0, 1, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"type", {'l', 5, 0, 1, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"version", {'l', 1, 0, 2, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"too long", {'l', 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"lengths that overflow",
       {'l', 1, 0, 1, 255, 255, 255, 255, 1, 0, 0, 0, 255, 255, 255, 255},
       0},
  };
  for (const auto& c : cases) {
    const auto frame = MessageFrame::parse(std::span(c.prefix).first<16>());
    EXPECT_EQ(frame ? frame->length() : 0, c.length) << c.name;
  }
}

}  // namespace
}  // namespace qrt
