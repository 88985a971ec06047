// Small inputs that stand for much work: each is answered with an error, soon.
#include <gtest/gtest.h>

#include <ctime>

#include "platform/posix/propertylists/PropertyListBuilder.h"
#include "support/PropertyListText.h"

namespace qrt {
namespace {

using test::bigEndian;

constexpr std::size_t mebibyte = 1 << 20;

#ifdef __OPTIMIZE__
constexpr double soon = 0.1;
#else
constexpr double soon = 10;  // With checks of every access: only that there is an end.
#endif

/// Of this process's own time: other tests run at the same time.
double secondsSince(std::clock_t begin) {
  return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

std::string repeated(std::string_view piece, std::size_t bytes) {
  std::string text;
  while (text.size() < bytes) text += piece;
  return text;
}

/// Its references are four bytes wide.
std::string binary(const std::vector<std::string>& objects) { return test::binaryList(objects, 4); }

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
  return binary(objects);
}

/// Attributes with names of their own, each with `rest` behind it.
std::string attributes(const std::string& rest, std::size_t bytes) {
  std::string text;
  for (int i = 0; text.size() < bytes; ++i) text += " a" + std::to_string(i) + rest;
  return text;
}

std::string entityBomb() {
  std::string text = "<!DOCTYPE plist [<!ENTITY e0 'lol'>";
  for (int i = 1; i < 10; ++i) {
    const auto inner = "&e" + std::to_string(i - 1) + ";";
    text += "<!ENTITY e" + std::to_string(i) + " '" + repeated(inner, 10 * inner.size()) + "'>";
  }
  return text + "]><plist><string>&e9;</string></plist>";
}

/// Default attributes would be made anew for every element.
std::string attributeBomb() {
  return "<!DOCTYPE plist [<!ATTLIST true" + attributes(" CDATA ''", mebibyte / 2) +
         ">]><plist><array>" + repeated("<true/>", mebibyte / 2) + "</array></plist>";
}

TEST(PropertyListHostility, IsAnsweredWithAnErrorSoon) {
  std::vector<std::string> chain;
  for (std::uint64_t i = 1; chain.size() < mebibyte / 14; ++i) chain.push_back(arrayOf({i}));

  const std::pair<const char*, std::string> inputs[] = {
      {"nested XML", repeated("<array>", mebibyte)},
      {"nested XML dictionaries", repeated("<dict><key>a</key>", mebibyte)},
      {"unknown XML", "<?xml version='1.0'?>" + repeated("<a>", mebibyte)},
      {"XML attributes", "<plist" + attributes("=''", mebibyte / 4) + "><set/></plist>"},
      {"entities", entityBomb()},
      {"default attributes", attributeBomb()},
      {"nested text", repeated("(", mebibyte)},
      {"nested text dictionaries", repeated("{a=", mebibyte)},
      {"text pairs", repeated("a=(", mebibyte)},
      {"text without end", "\"" + repeated("\\U0041", mebibyte)},
      {"comments without end", "(" + repeated("/* ", mebibyte)},
      {"nested binary", binary(chain)},
      {"binary in itself", sharedArrays(0, 0, arrayOf({0}))},
      {"binary in itself often", sharedArrays(0, 0, arrayOf({0, 0, 0, 0, 0, 0, 0, 0}))},
      {"shared objects", sharedArrays(20, 2, "\x09")},
      {"shared empty arrays", sharedArrays(3, 200, "\xA0")},
      {"shared strings", sharedArrays(12, 4, "\x5F\x11\x04\x01" + std::string(1025, 'a'))},
      {"shared data",
       sharedArrays(1, 17, "\x4F\x12" + bigEndian(mebibyte, 4) + std::string(mebibyte, 'a'))},
      {"count of objects", "bplist00\x09\x08" + std::string(6, '\0') + "\x01\x01" +
                               bigEndian(~0ull, 8) + bigEndian(0, 8) + bigEndian(9, 8)},
      {"count of items", binary({"\xAF\x13" + bigEndian(~0ull >> 1, 8)})},
      {"count of pairs", binary({"\xDF\x13" + bigEndian(1ull << 61, 8)})},
      {"count of characters", binary({"\x6F\x13" + bigEndian(1ull << 63, 8)})},
      {"too many bytes", std::string(maximumPropertyListBytes + 1, ' ')},
  };
  for (const auto& [name, bytes] : inputs) {
    const auto begin = std::clock();
    const auto shown = test::shown(test::parsed(bytes));
    EXPECT_LT(secondsSince(begin), soon) << name;
    EXPECT_TRUE(shown.starts_with("error 3840")) << name << ": " << shown.substr(0, 200);
  }
}

/// Exactly the limit is still read, one more is not.
TEST(PropertyListHostility, DepthIsLimitedInEveryForm) {
  const auto nested = [](std::string_view open, std::string_view close, std::size_t levels) {
    return repeated(open, levels * open.size()) + repeated(close, levels * close.size());
  };
  const auto forms = [&](std::size_t levels) {
    return std::vector{nested("<array>", "</array>", levels), nested("(", ")", levels),
                       sharedArrays(levels - 1, 1, "\xA0")};
  };
  const std::size_t most = maximumPropertyListDepth;
  for (const auto& bytes : forms(most)) EXPECT_TRUE(test::parsed(bytes)) << bytes.front();
  for (const auto& bytes : forms(most + 1)) EXPECT_FALSE(test::parsed(bytes)) << bytes.front();
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
