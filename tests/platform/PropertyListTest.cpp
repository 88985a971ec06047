#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>

#include "platform/PropertyLists.h"
#include "platform/posix/propertylists/PropertyListBuilder.h"
#include "support/TestTable.h"

namespace qrt {
namespace {

Result<PropertyValue> parsed(std::string_view bytes) {
  return readPropertyList({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// As XML, in which 1, 1.0 and true differ; for an error its code and description.
std::string shown(const Result<PropertyValue>& list) {
  const auto text = list ? writeXmlPropertyList(*list) : Result<std::string>(list.error());
  if (text) return *text;
  return "error " + std::to_string(text.error().code) + ": " + descriptionOf(text.error());
}

/// The XML of its value, in one line; or "refused".
std::string inShort(const std::string& bytes) {
  auto text = shown(parsed(bytes));
  if (text.starts_with("error 3840: ")) return "refused";
  text.erase(
      std::remove_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\t'; }),
      text.end());
  const std::string first = "<plist version=\"1.0\">", last = "</plist>";
  const auto begin = text.find(first) + first.size();
  return text.substr(begin, text.size() - last.size() - begin);
}

std::string bigEndian(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

std::string binary(const std::vector<std::string>& objects, std::uint64_t root = 0,
                   unsigned referenceWidth = 1) {
  std::string bytes = "bplist00", offsets;
  for (const auto& object : objects) {
    offsets += bigEndian(bytes.size(), 4);
    bytes += object;
  }
  const auto table = bytes.size();
  return bytes + offsets + bigEndian(4, 7) + bigEndian(referenceWidth, 1) +
         bigEndian(objects.size(), 8) + bigEndian(root, 8) + bigEndian(table, 8);
}

TEST(PropertyList, EachFormIsReadOrRefused) {
  for (const auto& row : test::rowsOfTable("platform/property-lists.tsv")) {
    auto bytes = test::unescaped(row[1]);
    if (row[0] == "xml") bytes = "<plist>" + bytes + "</plist>";
    if (row[0] == "binary") {
      auto objects = test::split(row[1], '|');
      for (auto& object : objects) object = test::unescaped(object);
      bytes = binary(objects);
    }
    EXPECT_EQ(inShort(bytes), row[2]) << row[1];
  }
  EXPECT_EQ(*parsed(R"("\a\b\f\v\r")"), PropertyValue("\a\b\f\v\r")) << "not for XML";
}

TEST(PropertyList, RefusesMalformedBinaryTrailers) {
  const auto whole = binary({"\x09"});
  // Widths, numbers and offsets, each at a distance from the end, with a value that does not fit.
  const std::pair<std::size_t, char> changes[] = {{26, 0}, {25, 9}, {17, 2},  {24, '\x80'}, {9, 1},
                                                  {1, 7},  {33, 0}, {1, 100}, {33, 9}};
  for (const auto& [fromEnd, byte] : changes) {
    auto bytes = whole;
    bytes[bytes.size() - fromEnd] = byte;
    EXPECT_EQ(inShort(bytes), "refused") << fromEnd;
  }
  EXPECT_EQ(inShort(whole.substr(0, whole.size() - 1)), "refused");
  EXPECT_EQ(inShort(binary({"\x08", "\x09"}, 1)), "<true/>") << "the root may be any object";
}

TEST(PropertyList, WritesXml) {
  const auto most = std::numeric_limits<std::uint64_t>::max();
  const PropertyValue value =
      Dictionary{{"a<b", Array{"\t\n\r&<>\"'\u00FC\U0001F600", Data(58, 'M'), Data{}, Array{},
                               Dictionary{}, Date{-0.5}, true, -1, most, 0.1}}};
  const std::string expected = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>a&lt;b</key>
	<array>
		<string>	
&#13;&amp;&lt;&gt;"'ü😀</string>
		<data>
		TU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1NTU1N
		TQ==
		</data>
		<data>
		</data>
		<array/>
		<dict/>
		<date>1969-12-31T23:59:59Z</date>
		<true/>
		<integer>-1</integer>
		<integer>18446744073709551615</integer>
		<real>0.1</real>
	</array>
</dict>
</plist>
)";
  EXPECT_EQ(shown(value), expected);
  EXPECT_EQ(shown(parsed(expected)), expected);
}

TEST(PropertyList, RefusesToWriteWhatXmlCannotHold) {
  const std::pair<const char*, PropertyValue> cases[] = {
      {"error", Dictionary{{"a", Array{posixError(PosixCode::busy)}}}},
      {"no UTF-8", "\xFF"},
      {"control character in a key", Dictionary{{"\x1F", true}}},
      {"noncharacter", "\xEF\xBF\xBE"},
      {"date that is no number", Date{std::nan("")}},
      {"date of the year 10000", Date{253402300800.0}},
      {"bytes", Data(maximumPropertyListBytes)},
  };
  for (const auto& [what, value] : cases) {
    EXPECT_TRUE(shown(value).starts_with("error 3851")) << what;
  }
}

constexpr std::size_t mebibyte = 1 << 20;

#ifdef __OPTIMIZE__
constexpr double soon = 0.1;
#else
constexpr double soon = 10;  // With checks of every access: that it ends at all.
#endif

std::string repeated(std::string_view piece, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) text += piece;
  return text;
}

std::string arrayOf(const std::vector<std::uint64_t>& references) {
  std::string object = "\xAF\x12" + bigEndian(references.size(), 4);
  for (const auto reference : references) object += bigEndian(reference, 4);
  return object;
}

/// Every array holds the next one `width` times, the last one `leaf`.
std::string sharedArrays(std::size_t levels, std::size_t width, const std::string& leaf) {
  std::vector<std::string> objects;
  for (std::size_t i = 1; i <= levels; ++i) {
    objects.push_back(arrayOf(std::vector<std::uint64_t>(width, i)));
  }
  objects.push_back(leaf);
  return binary(objects, 0, 4);
}

TEST(PropertyListHostility, ASmallInputThatMeansMuchWorkIsRefusedSoon) {
  std::vector<std::string> chain;
  for (std::uint64_t i = 1; chain.size() < mebibyte / 14; ++i) chain.push_back(arrayOf({i}));

  const std::pair<const char*, std::string> inputs[] = {
      {"text without end", "\"" + repeated("\\U0041", mebibyte)},
      {"comments without end", "(" + repeated("/* ", mebibyte)},
      {"nested binary", binary(chain, 0, 4)},
      {"binary in itself", sharedArrays(0, 0, arrayOf({0, 0, 0, 0, 0, 0, 0, 0}))},
      {"shared objects", sharedArrays(20, 2, "\x09")},
      {"shared strings", sharedArrays(12, 4, "\x5F\x11\x04\x01" + std::string(1025, 'a'))},
      {"shared data",
       sharedArrays(1, 17, "\x4F\x12" + bigEndian(mebibyte, 4) + std::string(mebibyte, 'a'))},
      {"count of objects", "bplist00\x09\x08" + std::string(6, '\0') + "\x01\x01" +
                               bigEndian(~0ull, 8) + bigEndian(0, 8) + bigEndian(9, 8)},
      {"count of items", binary({"\xAF\x13" + bigEndian(~0ull >> 1, 8)})},
      {"count of characters", binary({"\x6F\x13" + bigEndian(1ull << 63, 8)})},
      {"too many bytes", std::string(maximumPropertyListBytes + 1, ' ')},
  };
  for (const auto& [name, bytes] : inputs) {
    const auto begin = std::clock();  // Of this process, because other tests run meanwhile.
    const auto answer = shown(parsed(bytes));
    EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, soon) << name;
    EXPECT_TRUE(answer.starts_with("error 3840")) << name << ": " << answer.substr(0, 200);
  }
}

TEST(PropertyListHostility, DepthIsLimitedInEveryForm) {
  for (const std::size_t tooMany : {0, 1}) {
    const auto levels = maximumPropertyListDepth + tooMany;
    const std::string lists[] = {repeated("<array>", 7 * levels) + repeated("</array>", 8 * levels),
                                 repeated("(", levels) + repeated(")", levels),
                                 sharedArrays(levels - 1, 1, "\xA0")};
    for (const auto& list : lists) EXPECT_EQ(!parsed(list), tooMany == 1) << list.front();
  }
}

TEST(PropertyListHostility, ObjectsAndBytesAreLimited) {
  PropertyListBuilder items;
  ASSERT_FALSE(items.beginArray());
  for (std::size_t i = 1; i < maximumPropertyListObjects; ++i) ASSERT_FALSE(items.add(true));
  EXPECT_TRUE(items.add(true));

  for (const PropertyValue& more : {PropertyValue("a"), PropertyValue(Data{0})}) {
    PropertyListBuilder bytes;
    ASSERT_FALSE(bytes.beginDictionary());
    ASSERT_FALSE(bytes.key("a"));
    ASSERT_FALSE(bytes.add(Data(maximumPropertyListBytes - 2)));
    ASSERT_FALSE(bytes.key("b"));
    EXPECT_TRUE(bytes.add(more));
  }
}

}  // namespace
}  // namespace qrt
