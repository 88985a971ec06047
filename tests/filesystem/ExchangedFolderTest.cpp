#include <algorithm>

#include "filesystem/OperationFixture.h"
#include "support/Attack.h"

namespace qrt {
namespace {

using file_flag::userImmutable;

/// The owner of a tree exchanges a folder in it, while an operation works on the tree, for a link
/// to a folder of somebody else that holds the same names.
class ExchangedFolderTest : public test::OperationFixture {
 protected:
  ExchangedFolderTest() { fill("precious"); }

  static std::vector<std::string> filesIn(const std::string& top) {
    std::vector<std::string> names;
    for (int i = 0; i < 40; ++i) {
      names.push_back(top + (i % 2 == 0 ? "/" : "/inner/") + std::to_string(i));
    }
    return names;
  }
  void fill(const std::string& top) {
    scratch_.make("mkdir -p " + top + "/inner");
    for (const auto& name : filesIn(top)) scratch_.file(name);
  }
  void makeTree() {
    fill("tree/folder");
    scratch_.link("tree/link", scratch_.path("precious"));
  }

  /// Whether the other's files are all there and look right.
  template <class Look>
  bool isPreciousSafe(Look looksRight) const {
    const auto names = filesIn("precious");
    return std::all_of(names.begin(), names.end(), [&](const auto& name) {
      const auto status = context_.files.status(scratch_.path(name).c_str(), Links::stay);
      return status && looksRight(*status);
    });
  }

  template <class Action>
  void underAttack(Action action) {
    const test::FolderExchanger attacker(scratch_.path("tree/folder"), scratch_.path("tree/link"));
    action();
    exchanges_ += attacker.exchanges();
  }

  /// How not to do it: what a path leads to may change between any two calls.
  template <class Action>
  void byPathUnderAttack(Action action) {
    underAttack([&] {
      for (const auto& name : filesIn("tree/folder")) {
        if (S_ISLNK(test::statusOf(scratch_.path("tree/folder")).st_mode)) continue;
        action(scratch_.path(name));
      }
    });
  }

  /// An attacker can make it fail, nothing more.
  void removeUnderAttack() {
    const auto remove = [this] { (void)perform("DeleteFileobjects", {"1", "0", tree_}); };
    underAttack(remove);
    remove();
    ASSERT_FALSE(test::exists(tree_));
  }
  Outcome setProtection(const std::string& path, bool isProtected, bool recursive) {
    return perform("ModifyProtection", {path, isProtected, recursive, false});
  }

  const std::string tree_ = scratch_.path("tree");
  int exchanges_ = 0;
};

TEST_F(ExchangedFolderTest, DoesNotLeadRemovalAstray) {
  test::attack(
      [&] {
        makeTree();
        byPathUnderAttack([](const std::string& path) { unlink(path.c_str()); });
        removeUnderAttack();
      },
      [&] { fill("precious"); },
      [&] {
        makeTree();
        removeUnderAttack();
      },
      [&] { return isPreciousSafe([](const FileStatus&) { return true; }); });
}

TEST_F(ExchangedFolderTest, DoesNotLeadTheFlagPassOfRemovalAstray) {
  const std::string flagged = "precious/inner/1";
  if (!scratch_.changeFlags(flagged, "+i")) GTEST_SKIP() << "needs the right to set flags";
  for (int round = 0; round < 100; ++round) {
    makeTree();
    ASSERT_EQ(setProtection(scratch_.path("tree/folder/inner/1"), true, false), success);
    removeUnderAttack();
    const auto status = context_.files.status(scratch_.path(flagged).c_str(), Links::stay);
    ASSERT_EQ(status->flags, userImmutable) << "in round " << round;
  }
}

TEST_F(ExchangedFolderTest, DoesNotLeadPropagationAstray) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  makeTree();
  ASSERT_EQ(chown(tree_.c_str(), 1234, 1234), 0);
  constexpr int allButTheList = 0x3e;
  int round = 0;
  test::attack(
      [&] {
        byPathUnderAttack([](const std::string& path) { (void)!lchown(path.c_str(), 1234, 1234); });
      },
      [&] {
        test::run({"chown", "-R", "0:0", scratch_.path("precious")});
      },
      [&] {
        // What there is to do differs from round to round.
        chmod(tree_.c_str(), ++round % 2 == 0 ? 0770 : 0777);
        underAttack([&] { (void)perform("PropPermissions", {tree_, 0, false, allButTheList}); });
      },
      [&] {
        return isPreciousSafe([](const FileStatus& status) {
          return status.userID == 0 && status.groupID == 0 && status.mode == 0100644;
        });
      });
}

/// The link's target itself is fair game, what is in it is not. Only while flags are cleared: in a
/// folder that is immutable nothing can be exchanged.
TEST_F(ExchangedFolderTest, DoesNotLeadTheRecursiveFlagAstray) {
  makeTree();
  const auto precious = scratch_.path("precious");
  if (setProtection(precious, true, true)) GTEST_SKIP() << "needs the right to set flags";
  test::attack(
      [&] {
        byPathUnderAttack(
            [&](const std::string& path) { (void)setProtection(path, false, false); });
      },
      [&] {
        EXPECT_EQ(setProtection(precious, true, true), success);
        exchanges_ = 0;
      },
      [&] {
        EXPECT_EQ(setProtection(tree_, true, true), success);
        underAttack([&] { EXPECT_EQ(setProtection(tree_, false, true), success); });
      },
      [&] {
        return isPreciousSafe(
            [](const FileStatus& status) { return status.flags == userImmutable; });
      });
  EXPECT_GT(exchanges_, 0) << "nobody attacked";
  for (const auto& path : {tree_, precious}) {
    EXPECT_EQ(setProtection(path, false, true), success);
  }
}

TEST_F(ExchangedFolderTest, DoesNotLeadSearchesAstray) {
  makeTree();
  // Larger than everything that may be found together.
  constexpr off_t preciousSize = 1LL << 40;
  for (const auto& name : filesIn("precious")) {
    ASSERT_EQ(truncate(scratch_.path(name).c_str(), preciousSize), 0);
  }
  const std::pair<const char*, Array> searches[] = {{"SearchAgedfiles", {tree_, 0, false}},
                                                    {"SearchPatterns", {tree_, "0", "1", "1"}}};
  off_t found = 0;
  const auto add = [&](const Dictionary& told) { found += told.at("Size").number()->asInt64(); };
  test::attack(
      [&] {
        byPathUnderAttack([&](const std::string& path) { found += test::statusOf(path).st_size; });
      },
      [&] { found = 0; },
      [&] {
        underAttack([&] {
          for (const auto& [stem, arguments] : searches) {
            EXPECT_EQ(perform(stem, arguments), success);
            for (const auto& record : records()) add(*record.dictionary());
          }
          add(perform("InspectStoragesize", {tree_})->userInfo);
        });
      },
      [&] { return found < preciousSize; });
}

}  // namespace
}  // namespace qrt
