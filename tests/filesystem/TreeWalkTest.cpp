#include "filesystem/TreeWalk.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "filesystem/FolderChain.h"
#include "support/ItemFixture.h"

namespace qrt {
namespace {

using testing::ElementsAre;

/// Keeps what it was called with, in order, and takes its time for files.
class Recorder : public TreeVisitor {
 public:
  PosixCode onCannotRead = PosixCode::success;

  PosixResult<Next> visit(const TreeObject& object) override {
    note("visit", object);
    if (!object.isFolder()) std::this_thread::sleep_for(std::chrono::microseconds(20));
    return Next::enter;
  }
  PosixResult<Leave> leave(const TreeObject& folder, unsigned) override {
    note("leave", folder);
    return Leave::done;
  }
  PosixCode cannotRead(const TreeObject& folder, PosixCode reason) override {
    note("cannotRead " + std::to_string(number(reason)), folder);
    return onCannotRead;
  }

  std::vector<std::string> calls;
  std::set<unsigned> workers;
  std::set<std::thread::id> threads;

 private:
  void note(const std::string& call, const TreeObject& object) {
    const std::lock_guard lock(mutex_);
    calls.push_back(call + " " + object.relativePath());
    workers.insert(object.worker());
    threads.insert(std::this_thread::get_id());
  }
  std::mutex mutex_;
};

class TreeWalkTest : public test::ItemFixture {
 protected:
  std::optional<TreeFailure> walk(const std::string& name = {}) {
    const auto top = context_.files.locate(name.empty() ? scratch_.path() : scratch_.path(name));
    return walkTree(context_.files, top->at(), recorder_);
  }

  Recorder recorder_;
};

TEST_F(TreeWalkTest, TwoWorkersVisitEverythingOnceAndInOrder) {
  if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "needs two processors";
  // 20 folders with 20 folders each, with four files each.
  scratch_.make(
      "for i in $(seq 0 399); do echo $((i / 20))/$((i % 20)); done | xargs mkdir -p;"
      "for i in */*; do : > $i/1; : > $i/2; : > $i/3; : > $i/4; done");
  EXPECT_FALSE(walk());
  EXPECT_THAT(recorder_.workers, ElementsAre(0u, 1u));
  EXPECT_EQ(recorder_.threads.size(), 2u);

  std::map<std::string, std::size_t> position;
  for (const auto& call : recorder_.calls) {
    EXPECT_TRUE(position.emplace(call, position.size()).second) << call;
  }
  EXPECT_EQ(position.size(), 20u * (1 + 20 * (1 + 4)) + 20 * 21 + 1);
  for (const auto& [call, at] : position) {
    if (!call.starts_with("visit")) continue;
    const auto path = call.substr(6);
    const auto slash = path.rfind('/');
    const auto parent = slash == std::string::npos ? std::string() : path.substr(0, slash);
    EXPECT_LT(at, position.at("leave " + parent)) << call;
    if (!parent.empty()) {
      EXPECT_GT(at, position.at("visit " + parent)) << call;
    }
  }
}

TEST_F(TreeWalkTest, TheVisitorSaysWhatAnUnreadableFolderMeans) {
  scratch_.link("link", "/");
  EXPECT_FALSE(walk("link"));
  EXPECT_FALSE(walk("missing"));
  EXPECT_THAT(recorder_.calls, ElementsAre("cannotRead 20 ", "cannotRead 2 "));
  recorder_.onCannotRead = PosixCode::permissionDenied;
  EXPECT_EQ(walk("missing")->code, PosixCode::permissionDenied);
}

TEST_F(TreeWalkTest, DepthIsLimitedByDescriptorsAlone) {
  test::makeChain(scratch_.path(), "d", 700);
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  if (before.rlim_max < 900) GTEST_SKIP() << "needs 900 descriptors";
  const auto walkWith = [&](rlim_t descriptors) {
    const rlimit few{descriptors, before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    auto failure = walk();
    setrlimit(RLIMIT_NOFILE, &before);
    return failure;
  };
  EXPECT_FALSE(walkWith(900));
  EXPECT_EQ(recorder_.calls.size(), 700u + 701);
  const auto failure = walkWith(300);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, PosixCode::tooManyFiles);
  EXPECT_GT(failure->relativePath.size(), 500u);
}

}  // namespace
}  // namespace qrt
