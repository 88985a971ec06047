#include "filesystem/walk/TreeWalk.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <functional>
#include <thread>

#include "filesystem/FolderChain.h"
#include "filesystem/OperationFixture.h"

namespace qrt {
namespace {

using TreeWalkTest = test::OperationFixture;

std::size_t openDescriptors() {
  std::size_t count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    count += fcntl(descriptor, F_GETFD) != -1;
  }
  return count;
}

/// Counts calls, and looks at the descriptors of the process now and then.
class Counter : public TreeVisitor {
 public:
  PosixResult<Next> visit(const TreeObject& object) override {
    if (++visits % 64 == 0) mostDescriptors = std::max(mostDescriptors.load(), openDescriptors());
    if (object.isFolder() && onFolder) onFolder(object);
    workers |= 1u << object.worker();
    std::this_thread::sleep_for(delay);
    return Next::enter;
  }
  PosixResult<Leave> leave(const TreeObject&, unsigned) override {
    ++leaves;
    return Leave::done;
  }

  std::atomic<std::size_t> visits = 0, leaves = 0, mostDescriptors = 0;
  std::function<void(const TreeObject&)> onFolder;
  std::atomic<unsigned> workers = 0;
  /// As a slow disk has.
  std::chrono::microseconds delay{0};
};

TEST_F(TreeWalkTest, ManyWorkersShareSlowFoldersAndALargeOne) {
  if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "needs two processors";
  scratch_.make(
      "seq 0 399 | xargs -I{} echo {}/{}/{} | xargs mkdir -p;"
      "mkdir large; cd large; seq 0 11999 | xargs touch");
  Counter counter;
  counter.delay = std::chrono::microseconds(50);
  EXPECT_FALSE(walkTree(platform_, scratch_.path().c_str(), counter));
  EXPECT_EQ(counter.visits, 400 * 3 + 1 + 12000u);
  EXPECT_EQ(counter.leaves, 400 * 3 + 2u);
  EXPECT_GT(std::popcount(counter.workers.load()), 4);
}

TEST_F(TreeWalkTest, VisitsALargeFolderInALargeOneOnce) {
  scratch_.make(
      "mkdir -p large/first; cd large; seq 0 59999 | xargs touch; mkdir last;"
      "for d in first last; do (cd $d; seq 0 11999 | xargs touch); done");
  Counter counter;
  EXPECT_FALSE(walkTree(platform_, scratch_.path().c_str(), counter));
  EXPECT_EQ(counter.visits, 1 + 60'000 + 2 * 12'001u);
}

TEST_F(TreeWalkTest, AnyDepthIsWalkedWithTheSameDescriptors) {
  constexpr int levels = 3000;
  // Each level holds what keeps two workers busy: files, and folders with a folder in them.
  test::makeChain(scratch_.path(), "d", levels, [](int folder) {
    for (const char* name : {"a", "e", "a/inner", "e/inner"}) {
      ASSERT_EQ(mkdirat(folder, name, 0755), 0);
    }
    const FileDescriptor file(openat(folder, "e/file", O_WRONLY | O_CREAT, 0644));
  });
  Counter counter;
  const auto before = openDescriptors();
  EXPECT_FALSE(walkTree(platform_, scratch_.path().c_str(), counter));
  EXPECT_EQ(counter.visits, levels * 6u);
  EXPECT_EQ(counter.leaves, levels * 5u + 1);
  EXPECT_LE(counter.mostDescriptors, before + 64);
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(TreeWalkTest, AMovedFolderEndsTheWalk) {
  constexpr std::size_t moved = 100, seenBefore = 300;
  test::makeChain(scratch_.path(), "d", 400);
  std::string path = "d";
  for (std::size_t level = 1; level < moved; ++level) path += "/d";
  const auto from = scratch_.path(path), to = scratch_.path("elsewhere");
  const auto parent = path.substr(0, path.size() - 2);
  for (const bool returns : {true, false}) {
    Counter counter;
    counter.onFolder = [&](const TreeObject&) {
      if (counter.visits == seenBefore) {
        EXPECT_EQ(rename(from.c_str(), to.c_str()), 0);
      }
      if (returns && counter.visits == seenBefore + 1) {
        EXPECT_EQ(rename(to.c_str(), from.c_str()), 0);
      }
    };
    const auto top = scratch_.path();
    const auto failure = walkTree(platform_, top.c_str(), counter);
    ASSERT_EQ(failure.has_value(), !returns);
    if (returns) continue;
    EXPECT_EQ(failure->code, PosixCode::noEntry);
    EXPECT_EQ(failure->relativePath, parent);
  }
}

TEST_F(TreeWalkTest, ARequestToStopEndsEveryWorker) {
  scratch_.make("seq 0 399 | xargs -I{} echo {}/{}/{} | xargs mkdir -p");
  StopRequest stop;
  Counter counter;
  counter.delay = std::chrono::microseconds(50);
  counter.onFolder = [&](const TreeObject&) {
    if (counter.visits >= 600) stop.set();
  };
  const auto platform = platform_.forRequest(platform_.log, 0, stop);
  const auto failure = walkTree(platform, scratch_.path().c_str(), counter);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, PosixCode::canceled);
  // Each worker finishes the call that it makes.
  EXPECT_LT(counter.visits, 600 + 2 * 16);
}

}  // namespace
}  // namespace qrt
