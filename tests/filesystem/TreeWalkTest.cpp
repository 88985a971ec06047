#include "filesystem/TreeWalk.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "platform/NativeFileSystem.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// Keeps what it was called with, in order; a test replaces the answers.
class Recorder : public TreeVisitor {
 public:
  std::function<PosixResult<Next>(const TreeObject&)> onVisit = [](auto&) { return Next::enter; };
  std::function<PosixResult<Leave>(const TreeObject&, unsigned)> onLeave = [](auto&, unsigned) {
    return Leave::done;
  };
  PosixCode onCannotRead = PosixCode::success;

  PosixResult<Next> visit(const TreeObject& object) override {
    note("visit", object);
    return onVisit(object);
  }
  PosixResult<Leave> leave(const TreeObject& folder, unsigned round) override {
    note("leave", folder);
    return onLeave(folder, round);
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

class TreeWalkTest : public testing::Test {
 protected:
  std::optional<TreeFailure> walk(const std::string& name = {}) {
    const auto top = files_->locate(name.empty() ? scratch_.path() : scratch_.path(name));
    return walkTree(*files_, top->at(), recorder_);
  }

  /// `folders` folders in each of `folders` folders, with `count` files each.
  void makeTree(int folders, int count) {
    for (int i = 0; i < folders; ++i) {
      const auto outer = std::to_string(i);
      scratch_.folder(outer);
      for (int k = 0; k < folders; ++k) {
        const auto inner = outer + "/" + std::to_string(k);
        scratch_.folder(inner);
        for (int n = 0; n < count; ++n) scratch_.file(inner + "/file" + std::to_string(n));
      }
    }
  }

  test::ScratchFolder scratch_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
  Recorder recorder_;
};

TEST_F(TreeWalkTest, TwoWorkersVisitEverythingOnceAndInOrder) {
  if (std::thread::hardware_concurrency() < 2) GTEST_SKIP() << "needs two processors";
  makeTree(20, 4);
  recorder_.onVisit = [](auto& object) {
    EXPECT_TRUE(object.at().folder.descriptor() >= 0);
    if (!object.isFolder()) std::this_thread::sleep_for(std::chrono::microseconds(20));
    return TreeVisitor::Next::enter;
  };
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

TEST_F(TreeWalkTest, TheFirstErrorEndsTheWalkWithItsPlace) {
  makeTree(20, 4);
  scratch_.make("mkdir 0/0/x; touch 0/0/x/bad");
  recorder_.onVisit = [](auto& object) -> PosixResult<TreeVisitor::Next> {
    if (object.relativePath() == "0/0/x/bad") return PosixCode::busy;
    return TreeVisitor::Next::enter;
  };
  auto failure = walk();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, PosixCode::busy);
  EXPECT_EQ(failure->relativePath, "0/0/x/bad");
  EXPECT_NE(recorder_.calls.back(), "leave ");

  recorder_.onVisit = [](auto&) { return TreeVisitor::Next::enter; };
  recorder_.onLeave = [](auto& folder, unsigned) -> PosixResult<TreeVisitor::Leave> {
    if (folder.relativePath().empty()) return PosixCode::notEmpty;
    return TreeVisitor::Leave::done;
  };
  failure = walk();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, PosixCode::notEmpty);
  EXPECT_EQ(failure->relativePath, "");
}

TEST_F(TreeWalkTest, TheVisitorSaysWhatAnUnreadableFolderMeans) {
  scratch_.link("link", "/");
  recorder_.onCannotRead = PosixCode::success;
  EXPECT_FALSE(walk("link"));
  EXPECT_FALSE(walk("missing"));
  EXPECT_THAT(recorder_.calls, ElementsAre("cannotRead 20 ", "cannotRead 2 "));
  recorder_.onCannotRead = PosixCode::permissionDenied;
  EXPECT_EQ(walk("missing")->code, PosixCode::permissionDenied);
}

TEST_F(TreeWalkTest, DepthIsLimitedByDescriptorsAlone) {
  FileDescriptor folder(open(scratch_.path().c_str(), O_RDONLY | O_DIRECTORY));
  for (int level = 0; level < 700; ++level) {
    ASSERT_EQ(mkdirat(folder.get(), "d", 0755), 0);
    folder = FileDescriptor(openat(folder.get(), "d", O_RDONLY | O_DIRECTORY));
  }
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit few = before;
  few.rlim_cur = 900;
  if (few.rlim_cur > before.rlim_max) GTEST_SKIP() << "needs 900 descriptors";
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  EXPECT_FALSE(walk());
  EXPECT_EQ(recorder_.calls.size(), 700u + 701);

  few.rlim_cur = 300;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  const auto failure = walk();
  setrlimit(RLIMIT_NOFILE, &before);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, PosixCode::tooManyFiles);
  EXPECT_GT(failure->relativePath.size(), 500u);
}

TEST_F(TreeWalkTest, TypesAreAskedForWhereTheListingDoesNotTellThem) {
  const test::Mount mount(test::Mount::Kind::ext4WithoutTypes, scratch_.folder("mount"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and the file system's tools";
  scratch_.make("mkdir mount/a; ln -s / mount/a/link");
  std::map<std::string, std::uint32_t> types;
  recorder_.onVisit = [&](auto& object) {
    types.emplace(object.relativePath(), object.type());
    return object.relativePath() == "a" ? TreeVisitor::Next::enter : TreeVisitor::Next::pass;
  };
  EXPECT_FALSE(walk("mount"));
  EXPECT_EQ(types.at("a"), file_type::folder);
  EXPECT_EQ(types.at("a/link"), file_type::link);
}

}  // namespace
}  // namespace qrt
