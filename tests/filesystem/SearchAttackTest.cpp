#include <ftw.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <string>

#include "filesystem/SearchOperations.h"
#include "platform/NativePlatform.h"
#include "support/FakeFeedback.h"
#include "support/FolderExchanger.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// Larger than everything that may be found together.
constexpr std::uint64_t preciousSize = 1ULL << 40;

/// How not to do it: what a path leads to may change between any two calls.
std::uint64_t sizeByPath(const std::string& path) {
  static std::uint64_t size;
  size = 0;
  nftw(
      path.c_str(),
      [](const char*, const struct stat* status, int kind, struct FTW*) {
        if (kind != FTW_NS) size += static_cast<std::uint64_t>(status->st_size);
        return 0;
      },
      16, FTW_PHYS);
  return size;
}

/// The sum of what feedback or an answer tells.
std::uint64_t sizeIn(const PropertyValue& value) {
  std::uint64_t size = 0;
  if (value.array()) {
    for (const auto& element : *value.array()) size += sizeIn(element);
  }
  if (value.dictionary()) {
    for (const auto& [key, inner] : *value.dictionary()) {
      size += key == "Size" ? inner.number()->asUInt64() : sizeIn(inner);
    }
  }
  return size;
}

/// The owner of a tree exchanges a folder in it, while it is being searched, for a link to a folder
/// of somebody else that holds the same names.
TEST(SearchAttackTest, ExchangedFoldersDoNotLeadSearchesAstray) {
  const test::ScratchFolder scratch;
  for (const std::string top : {"precious", "tree", "tree/folder"}) {
    scratch.folder(top);
    if (top == "tree") continue;
    scratch.folder(top + "/inner");
    for (int i = 0; i < 40; ++i) {
      const auto file = scratch.file(top + (i % 2 ? "/file" : "/inner/file") + std::to_string(i));
      if (top != "precious") continue;
      ASSERT_EQ(truncate(file.c_str(), preciousSize), 0);
    }
  }
  scratch.link("tree/link", scratch.path("precious"));
  const auto tree = scratch.path("tree");
  const test::FolderExchanger attacker(scratch.path("tree/folder"), scratch.path("tree/link"));

  const auto start = Clock::now();
  int roundsUntilLost = 0;
  for (; sizeByPath(tree) < preciousSize; ++roundsUntilLost) {
    if (Clock::now() - start > std::chrono::seconds(60)) {
      GTEST_SKIP() << "the control was not led astray in time";
    }
  }

  const NativePlatform native;
  const auto& platform = native.facilities();
  const SearchContext context{platform.files, platform.log, platform.users};
  using namespace SearchOperations;
  const auto secondStart = Clock::now();
  for (int round = 0; round < 10 * roundsUntilLost + 100; ++round) {
    if (Clock::now() - secondStart > std::chrono::seconds(4)) break;
    test::FakeFeedback feedback;
    const auto connection = feedback.connect();
    EXPECT_EQ(
        performOperationSearchAgedfilesWithArguments(context, {tree, 0, false}, connection.get()),
        success);
    EXPECT_EQ(performOperationSearchPatternsWithArguments(context, {tree, "0", "1", "file"},
                                                          connection.get()),
              success);
    const auto answer =
        performOperationInspectStoragesizeWithArguments(context, {tree}, connection.get());
    for (const auto& message : feedback.messages) ASSERT_LT(sizeIn(message), preciousSize) << round;
    ASSERT_LT(sizeIn(answer->userInfo), preciousSize) << round;
  }
}

}  // namespace
}  // namespace qrt
