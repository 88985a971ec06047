// Property lists against programs that read and write them on their own.
#include <gtest/gtest.h>

#include <limits>

#include "support/PlantedFile.h"
#include "support/PropertyListText.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::parsed;
using test::shown;

/// One of every kind.
PropertyValue sample() {
  Data everyByte;
  for (int byte = 0; byte < 256; ++byte) everyByte.push_back(static_cast<std::uint8_t>(byte));
  return Dictionary{
      {"array", Array{Array{}, Dictionary{}, Array{"a", 1}}},
      {"data", Array{everyByte, Data{1}, Data{}}},
      {"dates", Array{Date{0}, Date{-62135596800}, Date{253402300799}, Date{978307200}}},
      {"integers",
       Array{0, -1, 127, 128, -129, 65536, std::int64_t{1} << 40,
             std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}},
      {"nested", Dictionary{{"b", Dictionary{{"c", true}}}, {"d", false}}},
      {"reals", Array{0.0, -1.5, 0.1, 1e300, 5e-324}},
      {"text", Array{"", " a ", "\t\n", "&<>\"'\\", "\u00FC\u20AC\uFFFD", std::string(300, 'x')}},
      {"\u00FC key", "value"},
  };
}

TEST(PropertyListTools, PythonReadsWhatIsWrittenAndIsReadInBothForms) {
  const std::string python = "/usr/bin/python3";
  if (!test::run({python, "-c", "import plistlib"})) GTEST_SKIP() << "needs python3's plistlib";
  const char* script =
      "import plistlib, sys\n"
      "with open(sys.argv[1], 'rb') as list: value = plistlib.load(list)\n"
      "with open(sys.argv[2], 'wb') as list: plistlib.dump(value, list, fmt=plistlib.FMT_XML)\n"
      "with open(sys.argv[3], 'wb') as list: plistlib.dump(value, list, fmt=plistlib.FMT_BINARY)\n";
  Dictionary value = *sample().dictionary();
  value.emplace("unsigned", std::numeric_limits<std::uint64_t>::max());
  value.emplace("supplementary", "\U0001F600");
  value.emplace("infinity", -std::numeric_limits<double>::infinity());

  const test::ScratchFolder folder;
  const auto ours = folder.file("ours", shown(PropertyValue(value)));
  const auto xml = folder.path("xml");
  const auto binary = folder.path("binary");
  ASSERT_TRUE(test::run({python, "-c", script, ours, xml, binary}));
  EXPECT_EQ(shown(parsed(test::contentsOf(binary))), shown(PropertyValue(value)));
  EXPECT_EQ(shown(parsed(test::contentsOf(xml))), shown(PropertyValue(value)));
}

/// GNUstep's user defaults, with a folder of the test's own for the files.
class PropertyListGnustep : public testing::Test {
 protected:
  void SetUp() override {
    folder_.folder("defaults");
    folder_.file("conf", "GNUSTEP_USER_DEFAULTS_DIR=" + folder_.path("defaults") + "\n");
    if (!write("probe", "probe")) GTEST_SKIP() << "needs GNUstep's defaults program";
  }

  bool write(const std::string& key, const std::string& text) const {
    return test::run({"env", "GNUSTEP_CONFIG_FILE=" + folder_.path("conf"), "defaults", "write",
                      "domain", key, text}) &&
           !domain().empty();
  }

  std::string domain() const { return test::contentsOf(folder_.path("defaults/domain.plist")); }
  void plantDomain(const std::string& bytes) const { folder_.file("defaults/domain.plist", bytes); }

 private:
  test::ScratchFolder folder_;
};

TEST_F(PropertyListGnustep, ReadsTextTheSameWay) {
  for (const char* text : {
           "{ a = b; \"c d\" = e; }",
           "( a, b , \"c d\", )",
           "{ a = (); b = {}; c = ((x), {y = z;}); }",
           "( <>, <0001 02ff>, <[AAEC/w==]> )",
           "( <*I5>, <*I-5>, <*I\"7\">, <*R1.5>, <*BY>, <*BN>, <*D2020-02-03 04:05:06 +0130> )",
           R"(( "\n\t", "\"\\ \q", "\101\60z", "gr\U00fc\U20ac" ))",
           "( /usr/bin, http://a.b/c_$-d, 1.5, \"\u00FC\" )",
           "{ // first\n /* a; */ a /**/ = // b\n \"/* c */\" ; // last\n}",
           "\"a\" = \"b\"; c = d;",
       }) {
    ASSERT_TRUE(write("key", text)) << text;
    const auto written = parsed(domain());
    ASSERT_TRUE(written) << domain();
    EXPECT_EQ(shown(written->dictionary()->at("key")), shown(parsed(text))) << domain();
  }
}

TEST_F(PropertyListGnustep, KeepsWhatIsWritten) {
  const auto value = sample();
  plantDomain(shown(value));
  ASSERT_TRUE(write("added", "text"));
  Dictionary expected = *value.dictionary();
  expected.emplace("added", "text");
  EXPECT_EQ(shown(parsed(domain())), shown(PropertyValue(expected)));
}

}  // namespace
}  // namespace qrt
