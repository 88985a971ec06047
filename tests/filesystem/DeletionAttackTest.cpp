#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>

#include "filesystem/QRTFileDeletionAdditions.h"
#include "platform/NativeFileSystem.h"
#include "support/FolderExchanger.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;

/// How not to do it: what a path leads to may change between any two calls.
void removeByPath(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return;
  if (!S_ISDIR(status.st_mode)) {
    unlink(path.c_str());
    return;
  }
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  while (const auto* entry = folder ? readdir(folder.get()) : nullptr) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") removeByPath(path + "/" + name);
  }
  rmdir(path.c_str());
}

/// The owner of a tree exchanges a folder in it, while it is being deleted, for a link to a folder
/// of somebody else that holds the same names.
class DeletionAttackTest : public testing::Test {
 protected:
  static constexpr int filesEach = 20;
  static constexpr auto timeLimit = std::chrono::seconds(4);
  /// The control usually loses within a second; only a machine on which it never does is let off.
  static constexpr auto controlPatience = std::chrono::seconds(60);

  DeletionAttackTest() { fillPrecious(); }

  void fillPrecious() {
    for (const char* folder : {"precious", "precious/inner"}) {
      if (!test::exists(scratch_.path(folder))) scratch_.folder(folder);
    }
    for (int i = 0; i < filesEach; ++i) {
      for (const auto& name : {fileName("precious", i), fileName("precious/inner", i)}) {
        if (!test::exists(scratch_.path(name))) scratch_.file(name);
      }
    }
  }

  bool isPreciousComplete() const {
    for (int i = 0; i < filesEach; ++i) {
      for (const auto& name : {fileName("precious", i), fileName("precious/inner", i)}) {
        if (!test::exists(scratch_.path(name))) return false;
      }
    }
    return true;
  }

  void makeTree() {
    scratch_.folder("tree");
    scratch_.folder("tree/folder");
    scratch_.folder("tree/folder/inner");
    for (int i = 0; i < filesEach; ++i) {
      scratch_.file(fileName("tree/folder", i));
      scratch_.file(fileName("tree/folder/inner", i));
    }
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

  static std::string fileName(const std::string& folder, int number) {
    return folder + "/file" + std::to_string(number);
  }

  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

TEST_F(DeletionAttackTest, ExchangedFoldersDoNotLeadRemovalAstray) {
  const auto start = Clock::now();
  int roundsUntilLost = 0;
  for (; isPreciousComplete(); ++roundsUntilLost) {
    if (Clock::now() - start > controlPatience)
      GTEST_SKIP() << "the control was not led astray in time";
    makeTree();
    underAttack([&] { removeByPath(scratch_.path("tree")); });
  }
  fillPrecious();

  const auto secondStart = Clock::now();
  for (int round = 0; round < 10 * roundsUntilLost + 100; ++round) {
    if (Clock::now() - secondStart > timeLimit) break;
    makeTree();
    underAttack([&] { remove(); });
    ASSERT_TRUE(isPreciousComplete())
        << "in round " << round << ", the control lost round " << roundsUntilLost;
  }
}

TEST_F(DeletionAttackTest, ExchangedFoldersDoNotLeadTheFlagPassAstray) {
  const auto flagged = scratch_.path(fileName("precious/inner", 0));
  if (!scratch_.changeFlags(fileName("precious/inner", 0), "+i")) {
    GTEST_SKIP() << "needs the right to set flags";
  }
  const auto start = Clock::now();
  for (int round = 0; round < 100 && Clock::now() - start < timeLimit; ++round) {
    makeTree();
    const auto victim = scratch_.path(fileName("tree/folder/inner", 0));
    ASSERT_EQ(QRTFileDeletionAdditions::setImmutableFlag(*files_, true, victim, true), success);
    underAttack([&] { remove(); });
    ASSERT_EQ(files_->status(flagged.c_str(), Links::stay)->flags, file_flag::userImmutable)
        << "in round " << round;
  }
}

}  // namespace
}  // namespace qrt
