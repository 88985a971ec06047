#include <gmock/gmock.h>

#include <algorithm>

#include "filesystem/OperationFixture.h"
#include "support/SteppedChild.h"

namespace qrt {
namespace {

using file_flag::userImmutable;
using testing::IsEmpty;
using testing::Not;

/// The owner of a tree exchanges a folder in it, while an operation works on the tree, for a link
/// to a folder of somebody else that holds the same names.
class ExchangedFolderTest : public test::OperationFixture {
 protected:
  ExchangedFolderTest() {
    fill(precious_);
    makeTree();
  }
  ~ExchangedFolderTest() override {
    for (const auto& top : {tree_, precious_}) (void)setProtection(top, false);
  }

  static std::vector<std::string> filesIn(const std::string& top) {
    return {top + "/1", top + "/2", top + "/inner/3", top + "/inner/4"};
  }
  static void fill(const std::string& top) {
    for (const auto* folder : {"", "/inner"}) mkdir((top + folder).c_str(), 0755);
    for (const auto& file : filesIn(top)) close(open(file.c_str(), O_WRONLY | O_CREAT, 0644));
  }
  void makeTree() const {
    mkdir(tree_.c_str(), 0755);
    fill(folder_);
    scratch_.link("link", precious_);
  }
  /// Also when it is only in part what was made.
  void makeTreeAgain() {
    for (const auto& top : {tree_, link_}) remove(top);
    makeTree();
  }
  void endExchange() const {
    if (isLink(folder_)) test::exchange(folder_, link_);
  }
  static bool isLink(const std::string& path) { return S_ISLNK(test::statusOf(path).st_mode); }

  Outcome setProtection(const std::string& top, bool isProtected) {
    return perform("ModifyProtection", {top, isProtected, true, false});
  }
  /// Of one object.
  void unprotect(const std::string& path) {
    (void)perform("ModifyProtection", {path, false, false, false});
  }
  /// An attacker can make it fail, nothing more.
  void remove(const std::string& top) { (void)perform("DeleteFileobjects", {"1", "0", top}); }
  auto removal() {
    return [this] {
      remove(tree_);
      return true;
    };
  }
  bool isTreeRemovable() {
    remove(tree_);
    return !test::exists(tree_);
  }

  /// Whether the other's files are all there and look right.
  template <class Look>
  bool isPreciousSafe(Look looksRight) const {
    const auto names = filesIn(precious_);
    return std::all_of(names.begin(), names.end(), [&](const auto& name) {
      const auto status = platform_.files.status(name.c_str(), Links::stay);
      return status && looksRight(*status);
    });
  }

  /// How not to do it: what a path leads to may change between any two calls.
  template <class Action>
  auto byPath(Action action) const {
    return [this, action] {
      for (const auto& name : filesIn(folder_)) {
        if (!isLink(folder_)) action(name);
      }
      return true;
    };
  }

  /// The same attacks succeed against `careless`, and never against `careful`.
  template <class Prepare, class Careless, class Careful, class IsSafe>
  void attack(Prepare prepare, Careless careless, Careful careful, IsSafe isSafe) const {
    const auto lost = test::attackAtEveryCall(folder_, link_, prepare, careless, isSafe);
    EXPECT_THAT(lost.lostStops, Not(IsEmpty()));
    const auto won = test::attackAtEveryCall(folder_, link_, prepare, careful, isSafe);
    EXPECT_THAT(won.lostStops, IsEmpty());
    EXPECT_GT(won.exchanges, 50);
  }

  const std::string precious_ = scratch_.path("precious");
  const std::string tree_ = scratch_.path("tree");
  const std::string folder_ = tree_ + "/folder";
  const std::string link_ = scratch_.path("link");
};

TEST_F(ExchangedFolderTest, DoesNotLeadRemovalAstray) {
  attack(
      [&] {
        makeTreeAgain();
        fill(precious_);
      },
      byPath([](const std::string& path) { unlink(path.c_str()); }), removal(),
      [&] { return isTreeRemovable() && isPreciousSafe([](const FileStatus&) { return true; }); });
}

bool isProtected(const FileStatus& status) { return status.flags == userImmutable; }

TEST_F(ExchangedFolderTest, DoesNotLeadTheFlagPassOfRemovalAstray) {
  if (setProtection(precious_, true)) GTEST_SKIP() << "needs the right to set flags";
  const auto flagged = folder_ + "/inner/3";
  attack(
      [&] {
        makeTreeAgain();
        EXPECT_EQ(setProtection(flagged, true), success);
        EXPECT_EQ(setProtection(precious_, true), success);
      },
      byPath([&](const std::string& path) { unprotect(path); }), removal(),
      [&] { return isTreeRemovable() && isPreciousSafe(isProtected); });
}

TEST_F(ExchangedFolderTest, DoesNotLeadPropagationAstray) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  ASSERT_EQ(chown(tree_.c_str(), 1234, 1234), 0);
  ASSERT_EQ(chmod(tree_.c_str(), 0770), 0);
  constexpr int allButTheList = 0x3e;
  attack(
      [&] {
        endExchange();
        for (const auto& top : {folder_, precious_}) {
          for (const auto& name : filesIn(top)) {
            EXPECT_EQ(lchown(name.c_str(), 0, 0), 0);
            EXPECT_EQ(chmod(name.c_str(), 0644), 0);
          }
        }
      },
      byPath([](const std::string& path) { (void)!lchown(path.c_str(), 1234, 1234); }),
      [&] {
        (void)perform("PropPermissions", {tree_, 0, false, allButTheList});
        return true;
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
  if (setProtection(precious_, true)) GTEST_SKIP() << "needs the right to set flags";
  const auto clear = [&] { return setProtection(tree_, false) == success; };
  attack(
      [&] {
        EXPECT_TRUE(clear());
        endExchange();
        for (const auto& top : {precious_, folder_, tree_}) {
          EXPECT_EQ(setProtection(top, true), success);
        }
      },
      [&] {
        unprotect(tree_);
        unprotect(folder_);
        return byPath([&](const std::string& path) { unprotect(path); })();
      },
      clear, [&] { return isPreciousSafe(isProtected); });
}

TEST_F(ExchangedFolderTest, DoesNotLeadSearchesAstray) {
  // Larger than everything that may be found together.
  constexpr off_t preciousSize = 1LL << 40;
  for (const auto& name : filesIn(precious_)) ASSERT_EQ(truncate(name.c_str(), preciousSize), 0);
  const std::pair<const char*, Array> searches[] = {{"SearchAgedfiles", {tree_, 0, false}},
                                                    {"SearchPatterns", {tree_, "0", "1", "1"}}};
  // Each process that is attacked has its own.
  off_t found = 0;
  const auto add = [&](const Dictionary& told) { found += told.at("Size").number()->asInt64(); };
  const auto look = byPath([&](const std::string& path) { found += test::statusOf(path).st_size; });
  attack([&] { endExchange(); }, [&] { return look() && found < preciousSize; },
         [&] {
           bool areDone = true;
           for (const auto& [stem, arguments] : searches) {
             areDone &= perform(stem, arguments) == success;
             for (const auto& record : records()) add(*record.dictionary());
           }
           add(perform("InspectStoragesize", {tree_})->userInfo);
           return areDone && found < preciousSize;
         },
         [] { return true; });
}

}  // namespace
}  // namespace qrt
