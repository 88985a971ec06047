#include "filesystem/walk/TreeWalk.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "filesystem/FolderChain.h"
#include "filesystem/OperationFixture.h"
#include "filesystem/walk/Workers.h"

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
    return Next::enter;
  }
  PosixResult<Leave> leave(const TreeObject&, unsigned) override {
    ++leaves;
    return Leave::done;
  }

  std::atomic<std::size_t> visits = 0, leaves = 0, mostDescriptors = 0;
  std::function<void(const TreeObject&)> onFolder;
};

/// Keeps what it was called with, in order. Mostly sleeps, as with a slow disk.
class SlowRecorder : public TreeVisitor {
 public:
  PosixResult<Next> visit(const TreeObject& object) override {
    note("visit ", object);
    std::this_thread::sleep_for(std::chrono::microseconds(50));
    return Next::enter;
  }
  PosixResult<Leave> leave(const TreeObject& folder, unsigned) override {
    note("leave ", folder);
    return Leave::done;
  }

  std::vector<std::string> calls;
  std::set<std::size_t> workers;

 private:
  void note(const std::string& call, const TreeObject& object) {
    const std::lock_guard lock(mutex_);
    calls.push_back(call + object.relativePath());
    workers.insert(object.worker());
  }
  std::mutex mutex_;
};

TEST_F(TreeWalkTest, ManyWorkersVisitEverythingOnceAndInOrder) {
  if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "needs two processors";
  scratch_.make(
      "for i in $(seq 0 399); do echo $((i / 20))/$((i % 20)); done | xargs mkdir -p;"
      "for i in */*; do : > $i/1; : > $i/2; : > $i/3; : > $i/4; done;"
      "mkdir large; cd large; seq 0 1999 | xargs touch");
  SlowRecorder recorder;
  EXPECT_FALSE(walkTree(platform_, scratch_.path().c_str(), recorder));
  EXPECT_GT(recorder.workers.size(), 4u);
  EXPECT_LE(recorder.workers.size(), WorkerCount::maximum);
  std::map<std::string, std::size_t> position;
  for (const auto& call : recorder.calls) {
    EXPECT_TRUE(position.emplace(call, position.size()).second) << call;
  }
  EXPECT_EQ(position.size(), 20u * (1 + 20 * (1 + 4)) + 20 * 21 + 1 + 2002);
  for (const auto& [call, at] : position) {
    if (!call.starts_with("visit")) continue;
    const auto path = call.substr(6);
    const auto parent = path.substr(0, path.rfind('/') + 1);
    EXPECT_LT(at, position.at("leave " + parent.substr(0, parent.size() - !parent.empty())));
  }
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

}  // namespace
}  // namespace qrt
