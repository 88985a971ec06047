// Old-style text beside the tools of GNUstep, which read and write the same files.
#include <random>

#include "support/PlantedFile.h"
#include "support/PropertyListText.h"

namespace qrt {
namespace {

/// Half of them random, of the pieces that lists are made of.
std::vector<std::string> texts() {
  std::vector<std::string> texts{"c++",
                                 "me@host",
                                 "50%",
                                 "!#$%&*+-./:?@^_|~",
                                 "{a = 1; b = 2}",
                                 "(,)",
                                 "(,a)",
                                 "(a,,b)",
                                 "(a,)",
                                 R"("Bj\u00f6rn, \U00E9\ud83d\ude00")",
                                 "{a=;}",
                                 "{=b;}",
                                 "{a=}",
                                 "/**/a// b\n",
                                 "{a = {b = (c, d)}}",
                                 "a//b",
                                 "<0aFF 00>",
                                 "<>",
                                 "<[AAEC]>",
                                 "{a = <*I5>; b = <*BY>; c = <*R1.5>;}"};
  const char* const pieces[] = {"{", "}",  "(",  ")",     "=",     "=",   ";",       ";",
                                ",", "a",  "b=", "c++",   "\"",    "\\n", "\\u00e9", "<0f>",
                                " ", "\n", "/",  "/*x*/", "//y\n", "'",   ">"};
  std::mt19937 random(24);
  for (int i = 0; i < 400; ++i) {
    std::string text;
    for (auto left = random() % 8; left > 0; --left) text += pieces[random() % std::size(pieces)];
    texts.push_back(i % 2 == 0 ? "{k=" + text + "}" : text);
  }
  return texts;
}

TEST(TextPropertyList, ReadsWhatGNUstepReadsAsTheSameValue) {
  const test::ScratchFolder folder;
  if (!test::run({"sh", "-c", "command -v plmerge"})) GTEST_SKIP() << "needs GNUstep's plmerge";
  // The tool adds what it can read to a dictionary, under the name of the file.
  std::vector<std::string> command{"plmerge", folder.path("merged.plist")};
  const auto all = texts();
  for (std::size_t i = 0; i < all.size(); ++i) {
    command.push_back(folder.file(std::to_string(i) + ".plist", "(" + all[i] + "\n)"));
  }
  EXPECT_TRUE(test::run(command));
  const auto merged = test::parsed(test::contentsOf(folder.path("merged.plist")));
  ASSERT_TRUE(merged) << test::shown(merged);
  for (std::size_t i = 0; i < all.size(); ++i) {
    const auto found = merged->dictionary()->find(folder.path(std::to_string(i)));
    if (found == merged->dictionary()->end()) continue;
    EXPECT_EQ(test::shown(test::parsed("(" + all[i] + "\n)")), test::shown(found->second))
        << all[i];
  }
  EXPECT_GT(merged->dictionary()->size(), 60u);
}

}  // namespace
}  // namespace qrt
