#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <sstream>

#include "platform/PropertyLists.h"
#include "platform/posix/propertylists/PropertyListBuilder.h"

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

std::string bigEndian(std::uint64_t value, int width) {
  std::string bytes;
  for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>(value >> 8 * i);
  return bytes;
}

void expectEach(const std::vector<std::pair<std::string, PropertyValue>>& cases) {
  for (const auto& [bytes, value] : cases) EXPECT_EQ(shown(parsed(bytes)), shown(value)) << bytes;
}

void expectRefused(const std::string& bytes) {
  EXPECT_TRUE(shown(parsed(bytes)).starts_with("error 3840: ")) << bytes;
}

std::string utf16(std::u16string_view text, bool isBigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += isBigEndian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

/// Refuses each text between two bars, after `before` and before `after`.
void expectEachRefused(const std::string& texts, const std::string& before = "",
                       const std::string& after = "") {
  std::istringstream all(texts);
  for (std::string text; std::getline(all, text, '|');) expectRefused(before + text + after);
}

template <std::size_t size>
std::string raw(const char (&bytes)[size]) {
  return {bytes, size - 1};
}

TEST(PropertyList, ReadsEachFormInEachEncoding) {
  const std::u16string text = u"\uFEFF( \"\u00FC\U0001F600\" )";
  const std::u16string xml =
      u"\uFEFF <?xml version='1.0' encoding='UTF-16'?>"
      u"<array><string>\u00FC\U0001F600</string></array>";
  const PropertyValue greeting = Array{"\u00FC\U0001F600"};
  expectEach({
      {utf16(text, true), greeting},
      {utf16(text, false), greeting},
      {utf16(xml, true), greeting},
      {"\xEF\xBB\xBF(\"\u00FC\U0001F600\")", greeting},
      {"\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?><plist><array>"
       "<string>\u00FC&#x1F600;</string></array></plist>",
       greeting},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><string>\xFC</string>", "\u00FC"},
      {"<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"x.dtd\"><plist><true/></plist>",
       true},
      {"<da7a>", Data{0xDA, 0x7A}},
      {"bplist01", "bplist01"},
  });
  for (const auto& bytes : {utf16(u"\uFEFF\xD800", true), utf16(u"\uFEFF\xDC00\xD800", true),
                            utf16(u"\uFEFF'\xD800'", true), utf16(u"\uFEFFa", false) + "b",
                            std::string(), std::string("\"\xFC\""), raw("\"\0\"")}) {
    expectRefused(bytes);
  }
}

TEST(PropertyList, ReadsXmlElements) {
  const auto plist = [](const std::string& content) { return "<plist>" + content + "</plist>"; };
  constexpr double infinity = std::numeric_limits<double>::infinity();
  expectEach({
      {plist("<string>a&lt;<![CDATA[<b>]]><!-- c -->d</string>"), "a<<b>d"},
      {plist("<array><integer> 42\n</integer><integer>+0x1F</integer></array>"), Array{42, 31}},
      {plist("<integer>-9223372036854775808</integer>"), std::numeric_limits<std::int64_t>::min()},
      {plist("<integer>9223372036854775808</integer>"), std::uint64_t{1} << 63},
      {plist("<array><real>-1.5e3</real><real>+nan</real></array>"), Array{-1500.0, std::nan("")}},
      {plist("<array><real>-Infinity</real><real>+inf</real></array>"), Array{-infinity, infinity}},
      {plist("<date>2024-02-29T01:02:03Z</date>"), Date{1709168523}},
      {plist("<data>\n\tAAEC\n\t/w==\n</data>"), Data{0, 1, 2, 0xFF}},
      {plist("<array><data/><array/><dict/></array>"), Array{Data{}, Array{}, Dictionary{}}},
      {plist("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>"),
       Dictionary{{"a", 2}}},
  });
}

TEST(PropertyList, RefusesXmlThatIsNoPropertyList) {
  const auto* const contents =
      R"(<true/><true/>|<true>x</true>|<plist><true/></plist>|<set/>|<array><true/>
|<array>text</array>|<string>a<dict/></string>|<string><string/></string>|<string>&unknown;</string>|<string>&#0;</string>
|<dict><true/></dict>|<array><key>a</key></array>|<dict><key>a</key></dict>|<key>a</key>|<integer/>|<real/>
|<dict><key>a</key><key>b</key><true/></dict>|<integer>1.5</integer>|<integer>--1</integer>
|<integer>18446744073709551616</integer>|<integer>-9223372036854775809</integer>|<real>1,5</real>|<real>+-1</real>
|<date>2023-02-29T00:00:00Z</date>|<date>2023-02-28T24:00:00Z</date>|<date>2023-02-28</date>
|<data>AAE</data>|<data>A*==</data>)";
  expectEachRefused(contents, "<plist>", "</plist>");
  for (const auto* content : {"<plist></plist>", "<string>\xFF</string>"}) expectRefused(content);
  for (const std::string type : {"[<!ENTITY e 'x'>]", "[<!ENTITY e SYSTEM '/etc/passwd'>]",
                                 "SYSTEM '/etc/passwd'", "[<!ATTLIST plist a CDATA 'b'>]"}) {
    expectRefused("<!DOCTYPE plist " + type + "><plist><string>&e;</string></plist>");
  }
}

TEST(PropertyList, ReadsOldStyleText) {
  expectEach({
      {"/usr/bin:http://a.b/c_$-d", "/usr/bin:http://a.b/c_$-d"},
      {R"("a \"b\" \\ \a\b\f\n\r\t\v \q 'c'")", "a \"b\" \\ \a\b\f\n\r\t\v q 'c'"},
      {R"('a "b" \'')", "a \"b\" '"},
      {R"("\101\1018\351\251\777")", "AA8\u00D8'\uFFFD"},
      {R"("\U00fc\ud83d\Ude00\U41 \u41g\u00E90")", "\u00FC\U0001F600A Ag\u00E90"},
      {"< 00 01\n02fF >", Data{0, 1, 2, 0xFF}},
      {"<[AAEC/w==]>", Data{0, 1, 2, 0xFF}},
      {"(<*I-5>, <*I\"7\">, <*R1.5>, <*BY>, <*BN>)", Array{-5, 7, 1.5, true, false}},
      {"(<*D1970-01-01 01:00:00 +0100>, <*D1970-01-01 00:00:01 -0030>)",
       Array{Date{0}, Date{1801}}},
      {"(a, (b), {c = d;},)", Array{"a", Array{"b"}, Dictionary{{"c", "d"}}}},
      {"{ a = 1; 'b c' = (); short; a = 2; }",
       Dictionary{{"a", "2"}, {"b c", Array{}}, {"short", "short"}}},
      {"// first\n{ /* a; */ a /**/ = // b\r \"/* c */\" ; } // last",
       Dictionary{{"a", "/* c */"}}},
      {"/* Title */\n\"key\" = \"value\";\nshort;\nd = {e = f;};\n",
       Dictionary{{"key", "value"}, {"short", "short"}, {"d", Dictionary{{"e", "f"}}}}},
      {" ", Dictionary()},
      {"\"a\" = b; /* no end", Dictionary{{"a", "b"}}},
  });
}

TEST(PropertyList, RefusesTextThatIsNoPropertyList) {
  expectEachRefused(
      R"(hello world|a = b|a = b; c|a;;|}|a, b|(a, /* b|{|{a|{a}|{a=|{a=b|{a=b;|{a=b;};|{a==b}|{a=b;;}
|{(a)=b;}|(|(a|(a,|(a b)|(a;)|(a))|(=)|"a|'a|"a\|"\U"|"\u"|"\Ud800"|"\Udc00"|"\Ud800\U0041"
|<0|<0>|<0 1>|<[AA>|<*>|<*X1>|<*I>|<*RX>|<*BX>|<*D2001-01-01>)");
  expectRefused("\xC3\xBC");
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

TEST(PropertyList, ReadsBinaryObjects) {
  expectEach({
      {binary({"\x09"}), true},
      {binary({"\x11\xFF\xFE"}), 65534},
      {binary({"\x13" + std::string(8, '\xFF')}), -1},
      {binary({"\x14" + std::string(8, '\0') + std::string(8, '\xFF')}),
       std::numeric_limits<std::uint64_t>::max()},
      {binary({raw("\x22\xBF\xC0\0\0")}), -1.5},
      {binary({raw("\x23\x3F\xF8\0\0\0\0\0\0")}), 1.5},
      {binary({raw("\x33\0\0\0\0\0\0\0\0")}), Date{978307200}},
      {binary({raw("\x43\0\x80\xFF")}), Data{0, 0x80, 0xFF}},
      {binary({"\x52hi"}), "hi"},
      {binary({"\x5F\x10\x0F" + std::string(15, 'a')}), std::string(15, 'a')},
      {binary({raw("\x63\0\xFC\xD8\x3D\xDE\0")}), "\u00FC\U0001F600"},
      {binary({raw("\xC1\1"), "\x51x"}), Array{"x"}},
      {binary({raw("\xD2\1\2\2\1"), "\x51x", "\x51y"}), Dictionary{{"x", "y"}, {"y", "x"}}},
      {binary({"\x08", "\x09"}, 1), true},
  });
}

TEST(PropertyList, RefusesMalformedBinaryTrailers) {
  const auto whole = binary({"\x09"});
  // Widths, numbers and offsets, each at a distance from the end, with a value that does not fit.
  const std::pair<std::size_t, char> changes[] = {{26, 0}, {25, 9}, {17, 2},  {24, '\x80'}, {9, 1},
                                                  {1, 7},  {33, 0}, {1, 100}, {33, 9}};
  for (const auto& [fromEnd, byte] : changes) {
    auto bytes = whole;
    bytes[bytes.size() - fromEnd] = byte;
    expectRefused(bytes);
  }
  expectRefused(whole.substr(0, whole.size() - 1));
}

TEST(PropertyList, RefusesMalformedBinaryObjects) {
  const std::string null = raw("\0"), half = raw("\x61\xD8\0"), shortDate = raw("\x32\0\0\0\0"),
                    infinite = raw("\x33\x7F\xF0\0\0\0\0\0\0"),
                    bigInteger = "\x14" + std::string(16, '\xFF'),
                    wideInteger = "\x15" + std::string(32, '\xFF'),
                    bigCount = raw("\x5F\x14\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\1x");
  for (const auto& object : {null, half, shortDate, infinite, bigInteger, wideInteger, bigCount}) {
    expectRefused(binary({object}));
  }
  for (const auto* object : {"\x13\1", "\x42z", "\x62zzz", "\xA1", "\xD1\1", "\x5F", "\x5F\x10",
                             "\x5F\x51x", "\x21\1\1", "\x51\x80", "\xA1\1"}) {
    expectRefused(binary({object}));
  }
  expectRefused(binary({"\xD1\1\1", "\x10\1"}));  // A key that is no string.
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
