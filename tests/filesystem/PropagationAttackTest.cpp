#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "filesystem/AdvancedOpsAdditions.h"
#include "filesystem/PermissionPropagation.h"
#include "platform/NativePlatform.h"
#include "support/FolderExchanger.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uid_t attackersID = 1234;

/// How not to do it: what a path leads to may change between any two calls.
void changeByPath(const std::string& path, const std::function<void(const std::string&)>& change) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return;
  change(path);
  if (!S_ISDIR(status.st_mode)) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  while (const auto* entry = folder ? readdir(folder.get()) : nullptr) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") changeByPath(path + "/" + name, change);
  }
}

/// The owner of a tree exchanges a folder in it, while rights or flags are being changed, for a
/// link to a folder of somebody else that holds the same names.
class PropagationAttackTest : public testing::Test {
 protected:
  static constexpr int filesEach = 40;

  PropagationAttackTest() {
    for (const std::string top : {"precious", "tree", "tree/folder"}) {
      scratch_.folder(top);
      if (top == "tree") continue;
      scratch_.folder(top + "/inner");
      for (int i = 0; i < filesEach; ++i) scratch_.file(fileName(top, i));
    }
    scratch_.link("tree/link", scratch_.path("precious"));
    EXPECT_EQ(chown(tree_.c_str(), attackersID, attackersID), 0);
    EXPECT_EQ(chmod(tree_.c_str(), 0777), 0);
  }

  static std::string fileName(const std::string& folder, int number) {
    return folder + (number % 2 == 0 ? "/file" : "/inner/file") + std::to_string(number);
  }

  bool isPreciousAsBefore() const {
    for (int i = 0; i < filesEach; ++i) {
      const auto status =
          context_.files.status(scratch_.path(fileName("precious", i)).c_str(), Links::stay);
      if (status->userID != 0 || status->mode != (S_IFREG | 0644) ||
          status->flags != preciousFlags_)
        return false;
    }
    return true;
  }

  void restorePrecious() {
    for (int i = 0; i < filesEach; ++i) {
      const auto name = fileName("precious", i);
      ASSERT_TRUE(preciousFlags_ == 0 || scratch_.changeFlags(name, "+i"));
      if (preciousFlags_ != 0) continue;
      ASSERT_EQ(chown(scratch_.path(name).c_str(), 0, 0), 0);
    }
  }

  /// The control loses first; then the real thing has ten times as many rounds.
  void expectSafe(const std::function<void()>& control, const std::function<void()>& safe) {
    const test::FolderExchanger attacker(scratch_.path("tree/folder"), scratch_.path("tree/link"));
    const auto start = Clock::now();
    int roundsUntilLost = 0;
    for (; isPreciousAsBefore(); ++roundsUntilLost) {
      if (Clock::now() - start > std::chrono::seconds(60)) {
        GTEST_SKIP() << "the control was not led astray in time";
      }
      control();
    }
    restorePrecious();
    const auto secondStart = Clock::now();
    for (int round = 0; round < 10 * roundsUntilLost + 100; ++round) {
      if (Clock::now() - secondStart > std::chrono::seconds(4)) break;
      safe();
      ASSERT_TRUE(isPreciousAsBefore()) << "in round " << round << " of " << roundsUntilLost;
    }
  }

  test::ScratchFolder scratch_;
  const std::string tree_ = scratch_.path("tree");
  const NativePlatform platform_;
  const ItemContext context_{platform_.facilities()};
  std::uint32_t preciousFlags_ = 0;
};

TEST_F(PropagationAttackTest, ExchangedFoldersDoNotLeadPropagationAstray) {
  constexpr std::uint8_t all = 0x3e;
  int rounds = 0;
  expectSafe(
      [this] {
        changeByPath(tree_, [](const std::string& path) {
          (void)!lchown(path.c_str(), attackersID, attackersID);
        });
      },
      [&] {
        // What there is to do differs from round to round.
        chmod(tree_.c_str(), rounds++ % 2 == 0 ? 0770 : 0777);
        (void)propagatePermissions(context_, platform_.facilities().log, tree_, 0, false, all,
                                   nullptr);
      });
}

TEST_F(PropagationAttackTest, ExchangedFoldersDoNotLeadTheRecursiveFlagAstray) {
  if (!scratch_.changeFlags("precious/file0", "+i")) GTEST_SKIP() << "needs flags";
  preciousFlags_ = file_flag::userImmutable;
  restorePrecious();
  // Only while flags are cleared: a folder that is immutable cannot have anything exchanged.
  const auto clear = [this](const std::string& path, bool recursive) {
    (void)AdvancedOpsAdditions::setUserImmutableAtPath(context_.files, path, false, recursive,
                                                       false);
  };
  expectSafe([&] { changeByPath(tree_, [&](const std::string& path) { clear(path, false); }); },
             [&] { clear(tree_, true); });
}

}  // namespace
}  // namespace qrt
