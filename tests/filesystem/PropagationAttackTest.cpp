#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>

#include "filesystem/AdvancedOpsAdditions.h"
#include "filesystem/PermissionPropagation.h"
#include "platform/NativePlatform.h"
#include "support/FolderExchanger.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// The owner of a tree exchanges a folder in it, while rights or flags are being changed, for a
/// link to a folder of somebody else that holds the same names.
class PropagationAttackTest : public testing::Test {
 protected:
  static constexpr int fileCount = 40;

  PropagationAttackTest() {
    for (const std::string top : {"precious", "tree", "tree/folder"}) {
      scratch_.folder(top);
      for (int i = 0; top != "tree" && i < fileCount; ++i) scratch_.file(fileName(top, i));
    }
    scratch_.link("tree/link", scratch_.path("precious"));
    EXPECT_EQ(chown(tree_.c_str(), 1234, 1234), 0);
  }

  static std::string fileName(const std::string& folder, int number) {
    return folder + "/file" + std::to_string(number);
  }

  bool isPrecious(std::uint32_t flags) const {
    for (int i = 0; i < fileCount; ++i) {
      const auto path = scratch_.path(fileName("precious", i));
      const auto status = context_.files.status(path.c_str(), Links::stay);
      if (status->userID != 0 || status->mode != 0100644 || status->flags != flags) return false;
    }
    return true;
  }

  /// The control goes by paths and loses first; then the real thing has ten times as many rounds.
  void expectSafe(std::uint32_t flags, const std::function<void(const std::string&)>& control,
                  const std::function<void()>& restore, const std::function<void()>& real) {
    restore();
    const test::FolderExchanger attacker(scratch_.path("tree/folder"), scratch_.path("tree/link"));
    const auto start = Clock::now();
    int lost = 0;
    for (; isPrecious(flags); ++lost) {
      if (Clock::now() - start > std::chrono::seconds(60)) GTEST_SKIP() << "the control never lost";
      for (int i = 0; i < fileCount; ++i) {
        const auto folder = scratch_.path("tree/folder");
        struct stat status {};
        if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) continue;
        control(fileName(folder, i));
      }
    }
    restore();
    const auto secondStart = Clock::now();
    for (int round = 0; round < 10 * lost + 100; ++round) {
      if (Clock::now() - secondStart > std::chrono::seconds(4)) break;
      real();
      ASSERT_TRUE(isPrecious(flags)) << "in round " << round << ", the control lost " << lost;
    }
  }

  test::ScratchFolder scratch_;
  const std::string tree_ = scratch_.path("tree");
  const NativePlatform platform_;
  const ItemContext context_{platform_.facilities()};
};

TEST_F(PropagationAttackTest, ExchangedFoldersDoNotLeadPropagationAstray) {
  int round = 0;
  expectSafe(
      0, [](const std::string& path) { (void)!lchown(path.c_str(), 1234, 1234); },
      [this] {
        test::run({"chown", "-R", "0:0", scratch_.path("precious")});
      },
      [&] {
        // What there is to do differs from round to round.
        chmod(tree_.c_str(), ++round % 2 == 0 ? 0770 : 0777);
        (void)propagatePermissions(context_, platform_.facilities().log, tree_, 0, false, 0x3e,
                                   nullptr);
      });
}

TEST_F(PropagationAttackTest, ExchangedFoldersDoNotLeadTheRecursiveFlagAstray) {
  if (!scratch_.changeFlags("precious/file0", "+i")) GTEST_SKIP() << "needs flags";
  // Only while flags are cleared: in a folder that is immutable nothing can be exchanged.
  const auto clear = [this](const std::string& path, bool recursive) {
    (void)AdvancedOpsAdditions::setUserImmutableAtPath(context_.files, path, false, recursive,
                                                       false);
  };
  expectSafe(
      file_flag::userImmutable, [&](const std::string& path) { clear(path, false); },
      [this] {
        for (int i = 0; i < fileCount; ++i) scratch_.changeFlags(fileName("precious", i), "+i");
      },
      [&] { clear(tree_, true); });
}

}  // namespace
}  // namespace qrt
