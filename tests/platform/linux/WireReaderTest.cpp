#include "platform/linux/wire/WireReader.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>

#include "base/Error.h"
#include "platform/linux/wire/EncodedArguments.h"
#include "platform/linux/wire/MessageFrame.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

using test::WireBytes;

WireReader reader(const WireBytes& bytes) { return {bytes.bytes(), /*bigEndian=*/false}; }

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
  const struct {
    const char* marker;
    std::size_t promptSize;
    std::optional<std::size_t> found;
  } cases[] = {
      {"x", 7, {}}, {"!QRTMETA!", 7, 7}, {"!QRTMETA!", EncodedArguments::longestText + 1, 0}};
  for (const auto& c : cases) {
    const auto write = [&c](WireBytes& to) {
      to.signature("s").string(c.marker).signature("a{sv}").array(8, [&c](WireBytes& map) {
        map.align(8).string("QRTAuthorizationPrompt").signature("s");
        map.string(std::string(c.promptSize, 'p'));
        map.align(8).string("QRTAuthorizationIcon").signature("y").byte(1);
      });
    };
    const auto bytes = WireBytes().array(1, write).bytes();
    const auto values = WireReader(bytes, /*bigEndian=*/false).array();
    EncodedArguments encoded({bytes}, 0, values.size());
    const auto mine = encoded.metadata(), decoded = DecodedArguments(values).metadata();
    ASSERT_TRUE(mine.has_value() == c.found.has_value() && decoded.has_value() == mine.has_value());
    if (mine) {
      const auto* prompt = stringIn(mine->entries, "QRTAuthorizationPrompt");
      EXPECT_EQ(prompt ? prompt->size() : 0, *c.found);
      EXPECT_EQ(mine->entryCount, decoded->entryCount);
    }
    EXPECT_EQ(encoded.decode(), values);
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
  using Fields = std::map<char, std::function<void(WireBytes&)>>;
  const Fields fields{
      {'p', [](WireBytes& to) { to.align(8).byte(1).signature("o").string("/a"); }},
      {'3', [](WireBytes& to) { to.align(8).byte(9).signature("u").u32(3); }},
      {'c', [](WireBytes& to) { to.align(8).byte(9).signature("u").byte(3); }},
      {'x', [](WireBytes& to) { to.align(8).byte(77).signature("x").u64(0); }},
      {'d', [](WireBytes& to) { to.byte(1).signature("y").byte(1).byte(9); }},
  };
  const std::pair<std::string, std::optional<std::uint32_t>> cases[] = {
      {"", 0}, {"p", 0}, {"3p", 3}, {"p3", 3}, {"x3", 3}, {"3p3", {}}, {"c", {}}, {"d3", {}}};
  for (const auto& [names, count] : cases) {
    WireBytes message;
    message.byte('l').byte(1).byte(0).byte(1).u32(0).u32(1).array(
        8, [&, &letters = names](WireBytes& to) {
          for (const auto letter : letters) fields.at(letter)(to);
        });
    auto header = message.align(8).bytes();
    const auto frame = MessageFrame::parse(std::span(header).first<MessageFrame::prefixLength>());
    ASSERT_TRUE(frame) << names;
    EXPECT_EQ(frame->takeDescriptorCount(header), count) << names;
    EXPECT_EQ(frame->takeDescriptorCount(header), count ? 0 : count) << names << ", taken";
  }
}

}  // namespace
}  // namespace qrt
