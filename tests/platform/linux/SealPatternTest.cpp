#include "platform/linux/signing/SealPattern.h"

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

/// The patterns that signers use are tried with the bundles that they seal.
TEST(SealPattern, AnswersAsTheSystemDoesForAnyPattern) {
  using Pieces = std::vector<std::string>;
  const Pieces ofPatterns{"a", "a", "b", "/", ".",    "*",    "+",     "?",     "|",
                          "(", ")", "^", "$", "[ab]", "[^/]", "[]a-]", "[.-b]", "\\."};
  const Pieces ofTexts{"a", "a", "b", "/", ".", "-"};
  std::mt19937 random(4711);
  const auto made = [&random](const Pieces& pieces, std::size_t longest) {
    std::string text;
    for (auto left = random() % longest; left > 0; --left) text += pieces[random() % pieces.size()];
    return text;
  };
  int compared = 0;
  for (int i = 0; i < 20'000; ++i) {
    const auto pattern = made(ofPatterns, 10);
    const auto text = made(ofTexts, 8);
    const auto compiled = SealPattern::compile(pattern);
    const auto expected = systemsAnswer(pattern, text);
    if (!compiled || !expected) continue;
    ++compared;
    std::uint64_t steps = 1'000'000;
    ASSERT_EQ(compiled->matches(text, steps), *expected) << pattern << " " << text;
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
