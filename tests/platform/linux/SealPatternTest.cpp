#include "platform/linux/SealPattern.h"

#include <gtest/gtest.h>
#include <regex.h>

#include <random>
#include <string>

namespace qrt {
namespace {

/// The answer of the system's own matcher; none for what it does not take for a pattern.
std::optional<bool> systemsAnswer(const std::string& pattern, const std::string& text) {
  regex_t compiled;
  if (regcomp(&compiled, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0) return std::nullopt;
  const bool matches = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return matches;
}

bool matches(const SealPattern& pattern, const std::string& text) {
  std::uint64_t steps = 1'000'000;
  return pattern.matches(text, steps);
}

TEST(SealPattern, AnswersAsTheSystemDoes) {
  for (const auto* pattern :
       {"^.*", "^Resources/", "^Resources/.*\\.lproj/", ".*\\.dSYM($|/)", "^(.*/)?\\.DS_Store$",
        "^[^/]+$", "^(Frameworks|MacOS|Library/(Automator|Spotlight))/", "a|^b$|", "x[]a-]*y"}) {
    const auto compiled = SealPattern::compile(pattern);
    ASSERT_TRUE(compiled) << pattern;
    for (const auto* text :
         {"Resources/en.lproj/a", "Resources/en.lproj", ".DS_Store", "a/.DS_Store", "x.DS_Store",
          "a.dSYM", "a.dSYM/b", "a.dSYMx", "PkgInfo", "Library/Spotlight/x", "Library/x", "b", "bb",
          "x]-a]y", "xby", ""}) {
      EXPECT_EQ(matches(*compiled, text), systemsAnswer(pattern, text)) << pattern << " " << text;
    }
  }
}

TEST(SealPattern, AnswersAsTheSystemDoesForAnyPattern) {
  std::mt19937 random(4711);
  const auto made = [&](std::string_view from, std::size_t longest) {
    std::string text(random() % longest, ' ');
    for (auto& each : text) each = from[random() % from.size()];
    return text;
  };
  int compared = 0;
  for (int i = 0; i < 20'000; ++i) {
    const auto pattern = made("aab.*+?|()^$/", 10);
    const auto compiled = SealPattern::compile(pattern);
    const auto text = made("aab/", 8);
    const auto expected = systemsAnswer(pattern, text);
    // The system takes some things that mean nothing, like an anchor that is repeated.
    if (!compiled || !expected || pattern.find_first_of("^$") != std::string::npos) continue;
    ++compared;
    ASSERT_EQ(matches(*compiled, text), *expected) << pattern << " " << text;
  }
  EXPECT_GT(compared, 2'000);
}

TEST(SealPattern, IsRefusedOrMatchedInNoTime) {
  for (const auto* pattern : {"(", ")", "a{2}", "{", "*", "[a", "a\\", "[[:alpha:]]", "a|*"}) {
    EXPECT_FALSE(SealPattern::compile(pattern)) << pattern;
  }
  EXPECT_FALSE(SealPattern::compile(std::string(SealPattern::longestPattern + 1, 'a')));
  EXPECT_TRUE(SealPattern::compile(std::string(250, '(') + "a" + std::string(250, ')')));

  std::string hard;
  for (int i = 0; i < 50; ++i) hard += "(a*)*";
  const auto compiled = SealPattern::compile(hard + "b");
  ASSERT_TRUE(compiled);
  std::uint64_t steps = 1'000'000;
  EXPECT_FALSE(compiled->matches(std::string(4000, 'a'), steps));
  EXPECT_GT(steps, 0u);
  steps = 1'000;
  EXPECT_FALSE(compiled->matches(std::string(4000, 'a') + "b", steps));
  EXPECT_EQ(steps, 0u);
}

}  // namespace
}  // namespace qrt
