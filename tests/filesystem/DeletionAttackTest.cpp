#include <memory>

#include "filesystem/QRTFileDeletionAdditions.h"
#include "platform/NativeFileSystem.h"
#include "support/Attack.h"
#include "support/FolderExchanger.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

/// The owner of a tree exchanges a folder in it, while it is being deleted, for a link to a folder
/// of somebody else that holds the same names.
class DeletionAttackTest : public testing::Test {
 protected:
  void fill(const std::string& folder) {
    for (const auto& each : {folder, folder + "/inner"}) {
      if (!test::exists(scratch_.path(each))) scratch_.folder(each);
      for (int i = 0; i < 20; ++i) {
        if (!test::exists(scratch_.path(each + "/" + std::to_string(i)))) {
          scratch_.file(each + "/" + std::to_string(i));
        }
      }
    }
  }
  bool isPreciousComplete() const {
    for (const std::string folder : {"precious/", "precious/inner/"}) {
      for (int i = 0; i < 20; ++i) {
        if (!test::exists(scratch_.path(folder + std::to_string(i)))) return false;
      }
    }
    return true;
  }

  void makeTree() {
    scratch_.folder("tree");
    fill("tree/folder");
    scratch_.link("tree/link", scratch_.path("precious"));
  }
  /// An attacker can make it fail, nothing more.
  void remove() {
    const DeletionContext context{*files_, 0x1000};
    (void)QRTFileDeletionAdditions::enforceRemovalOfFileSystemObjectAtPath(
        context, scratch_.path("tree"), true);
  }
  template <class Action>
  void underAttack(Action action) {
    {
      const test::FolderExchanger attacker(scratch_.path("tree/folder"),
                                           scratch_.path("tree/link"));
      action();
    }
    remove();
    ASSERT_FALSE(test::exists(scratch_.path("tree")));
  }

  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

TEST_F(DeletionAttackTest, ExchangedFoldersDoNotLeadRemovalAstray) {
  fill("precious");
  test::attack(
      [&] {
        makeTree();
        // How not to do it: what a path leads to may change between any two calls.
        underAttack([&] { scratch_.make("rm -f tree/folder/inner/* tree/folder/* || true"); });
      },
      [&] { fill("precious"); },
      [&] {
        makeTree();
        underAttack([&] { remove(); });
      },
      [&] { return isPreciousComplete(); });
}

TEST_F(DeletionAttackTest, ExchangedFoldersDoNotLeadTheFlagPassAstray) {
  fill("precious");
  const auto flagged = scratch_.path("precious/inner/0");
  if (!scratch_.changeFlags("precious/inner/0", "+i")) {
    GTEST_SKIP() << "needs the right to set flags";
  }
  for (int round = 0; round < 100; ++round) {
    makeTree();
    const auto victim = scratch_.path("tree/folder/inner/0");
    ASSERT_EQ(QRTFileDeletionAdditions::setImmutableFlag(*files_, true, victim, true), success);
    underAttack([&] { remove(); });
    ASSERT_EQ(files_->status(flagged.c_str(), Links::stay)->flags, file_flag::userImmutable)
        << "in round " << round;
  }
}

}  // namespace
}  // namespace qrt
