#include "platform/linux/wire/WireReader.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "base/Error.h"
#include "platform/linux/wire/EncodedArguments.h"
#include "platform/linux/wire/MessageFrame.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

using test::WireBytes;

WireReader reader(const WireBytes& bytes) { return {bytes.bytes(), /*bigEndian=*/false}; }

TEST(WireReader, ReadsEveryKindOfValue) {
  WireBytes bytes;
  bytes.array(1, [](WireBytes& a) {
    a.signature("s").string("name \xF4\x8F\xBF\xBF\xF4\x8F\xBF\xBE");
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
  auto checked = reader(bytes);
  EXPECT_EQ(checked.checkArray(), values.size());
  EXPECT_TRUE(checked.atEnd());
  EXPECT_EQ(values, (Array{"name \xFF\xFE", true, 200, -2, 65534, -1, 4294967295u, -1,
                           std::numeric_limits<std::uint64_t>::max(), 1.5, Data{1, 2}, Date{1.5},
                           Array{7}, Dictionary{{"key", "value"}}, Error{"domain", 5, {}}}));
}

TEST(WireReader, ReadsBigEndianNumbers) {
  const std::uint8_t bytes[] = {0, 0, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0};
  WireReader from(bytes, /*bigEndian=*/true);
  EXPECT_EQ(from.uint32(), 5u);
  EXPECT_EQ(from.uint64(), 256u);
  EXPECT_TRUE(from.atEnd());
}

TEST(WireReader, RefusesWhatIsMalformed) {
  // An array of one value.
  const auto one = [](const char* signature, auto write) {
    return WireBytes().array(1, [&](WireBytes& a) { write(a.signature(signature)); });
  };
  const std::pair<const char*, WireBytes> cases[] = {
      {"array longer than the body", WireBytes().u32(0xFFFFFFFF)},
      {"string longer than the body", one("s", [](WireBytes& a) { a.u32(8).raw("abcd"); })},
      {"string without its end", one("s", [](WireBytes& a) { a.u32(3).raw("abcd"); })},
      {"zero within a string", one("s", [](WireBytes& a) { a.string(std::string("a\0b", 3)); })},
      {"not UTF-8", one("s", [](WireBytes& a) { a.string("\xFF"); })},
      {"boolean of 2", one("b", [](WireBytes& a) { a.u32(2); })},
      {"dirty padding", one("y", [](WireBytes& a) { a.byte(1).signature("u").byte(9).u32(1); })},
      {"signature of two values", one("ss", [](WireBytes& a) { a.string("a"); })},
      {"variant in a variant", one("v", [](WireBytes& a) { a.signature("y").byte(1); })},
      {"element that crosses the array's end",
       WireBytes().u32(5).signature("s").align(4).u32(20).raw(std::string(24, 'x'))},
  };
  for (const auto& [name, bytes] : cases) {
    auto from = reader(bytes);
    EXPECT_LT(from.array().size(), 3u) << name;
    EXPECT_FALSE(from.atEnd()) << name;
    auto checked = reader(bytes);
    checked.checkArray();
    EXPECT_FALSE(checked.atEnd()) << name;
  }
}

void nest(WireBytes& bytes, int depth) {
  bytes.array(1, [depth](WireBytes& inner) {
    if (depth > 1) nest(inner.signature("av"), depth - 1);
  });
}

TEST(WireReader, BoundsDepthAndNumber) {
  for (const auto& [depth, accepted] : {std::pair{32, true}, {33, false}, {5000, false}}) {
    WireBytes bytes;
    nest(bytes, depth);
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

TEST(EncodedArguments, HaveTheMetadataOfDecodedOnes) {
  const auto metadata = [](WireBytes& values, std::size_t promptSize) -> WireBytes& {
    return values.signature("s").string("!QRTMETA!").signature("a{sv}").array(8, [&](auto& map) {
      map.align(8)
          .string("QRTAuthorizationPrompt")
          .signature("s")
          .string(std::string(promptSize, 'p'));
      map.align(8).string("QRTAuthorizationIcon").signature("y").byte(1);
      map.align(8).string("Other").signature("s").string("x");
    });
  };
  constexpr auto longest = EncodedArguments::longestText;
  const struct {
    const char* name;
    std::function<void(WireBytes&)> write;
    std::optional<std::size_t> promptSize;
  } cases[] = {
      {"nothing", [](WireBytes&) {}, {}},
      {"the marker alone", [](WireBytes& a) { a.signature("s").string("!QRTMETA!"); }, {}},
      {"a string after the marker",
       [](WireBytes& a) { a.signature("s").string("!QRTMETA!").signature("s").string("x"); },
       {}},
      {"metadata", [&](WireBytes& a) { metadata(a, 7).signature("y").byte(3); }, 7},
      {"a text that no dialog shows", [&](WireBytes& a) { metadata(a, longest + 1); }, 0},
  };
  for (const auto& c : cases) {
    const auto bytes = WireBytes().array(1, c.write).bytes();
    WireReader whole(bytes, /*bigEndian=*/false);
    const auto values = whole.array();
    EncodedArguments encoded({bytes}, 0, values.size());
    const auto mine = encoded.metadata(), decoded = DecodedArguments(values).metadata();
    ASSERT_EQ(mine.has_value(), c.promptSize.has_value()) << c.name;
    ASSERT_EQ(decoded.has_value(), c.promptSize.has_value()) << c.name;
    if (mine) {
      const auto* prompt = stringIn(mine->entries, "QRTAuthorizationPrompt");
      EXPECT_EQ(prompt ? prompt->size() : 0, *c.promptSize) << c.name;
      EXPECT_EQ(mine->entryCount, decoded->entryCount) << c.name;
    }
    EXPECT_EQ(encoded.decode(), values) << c.name;
  }
}

TEST(MessageFrame, MeasuresOrRefuses) {
  const struct {
    const char* name;
    std::array<std::uint8_t, 16> prefix;
    std::size_t length;  // 0: refused
  } cases[] = {
      {"little endian", {'l', 1, 0, 1, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 16 + 16 + 5},
      {"big endian", {'B', 4, 0, 1, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0, 8}, 16 + 8 + 5},
      {"byte order", {'x', 1, 0, 1, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"type", {'l', 5, 0, 1, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"version", {'l', 1, 0, 2, 5, 0, 0, 0, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"too long", {'l', 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, 0, 9, 0, 0, 0}, 0},
      {"overflow", {'l', 1, 0, 1, 255, 255, 255, 255, 1, 0, 0, 0, 255, 255, 255, 255}, 0},
  };
  for (const auto& c : cases) {
    const auto frame = MessageFrame::parse(c.prefix);
    EXPECT_EQ(frame ? frame->length() : 0, c.length) << c.name;
  }
}

TEST(MessageFrame, TakesTheDescriptorCountOrRefusesTheFields) {
  const auto path = [](WireBytes& f) { f.align(8).byte(1).signature("o").string("/a"); };
  const auto count = [](WireBytes& f) { f.align(8).byte(9).signature("u").u32(3); };
  const auto ofType = [](const char* type) {
    return [type](WireBytes& f) { f.align(8).byte(77).signature(type).u64(0); };
  };
  using Fields = std::vector<std::function<void(WireBytes&)>>;
  const struct {
    const char* name;
    Fields fields;
    std::optional<std::uint32_t> count;
  } cases[] = {
      {"no fields", {}, 0},
      {"no count", {path}, 0},
      {"first", {count, path}, 3},
      {"last", {path, count}, 3},
      {"after an unknown field", {ofType("x"), count}, 3},
      {"twice", {count, path, count}, {}},
      {"of another type", {[](WireBytes& f) { f.align(8).byte(9).signature("i").u32(3); }}, {}},
      {"cut", {[](WireBytes& f) { f.align(8).byte(9).signature("u").byte(3); }}, {}},
      {"after a field that is made of others", {ofType("ay"), count}, {}},
      {"dirty padding",
       {[](WireBytes& f) { f.byte(1).signature("y").byte(1).byte(9); }, count},
       {}},
  };
  for (const auto& c : cases) {
    WireBytes message;
    message.byte('l').byte(1).byte(0).byte(1).u32(0).u32(1).array(8, [&](WireBytes& fields) {
      for (const auto& write : c.fields) write(fields);
    });
    auto header = message.align(8).bytes();
    const auto frame = MessageFrame::parse(std::span(header).first<MessageFrame::prefixLength>());
    ASSERT_TRUE(frame) << c.name;
    EXPECT_EQ(frame->takeDescriptorCount(header), c.count) << c.name;
    EXPECT_EQ(frame->takeDescriptorCount(header), c.count ? 0 : c.count) << c.name;
  }
}

}  // namespace
}  // namespace qrt
