#include "filesystem/WalkAhead.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <functional>
#include <set>
#include <thread>

#include "filesystem/QRTDirectoryEnumerator.h"
#include "platform/NativeFileSystem.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using Paths = std::vector<std::string>;

bool never(const std::string&) { return false; }
bool nowAndThen(const std::string& path) { return std::hash<std::string>()(path) % 23 == 7; }

class WalkAheadTest : public testing::Test {
 protected:
  /// Folders of very different sizes, some of them nested.
  void SetUp() override {
    for (int outer = 0; outer < 12; ++outer) {
      const auto outerFolder = scratch_.folder(std::to_string(outer));
      for (int inner = 0; inner < outer * outer * 2; ++inner) {
        const auto name = std::to_string(outer) + "/" + std::to_string(inner);
        scratch_.folder(name);
        for (int file = 0; file < inner % 9; ++file) {
          scratch_.file(name + "/file" + std::to_string(file));
        }
        if (inner % 11 == 0) scratch_.make("mkdir -p " + name + "/a/b/c " + name + "/a/d");
      }
    }
  }

  auto walk() { return QRTDirectoryEnumerator::enumeratorAtPath(*files_, log_, scratch_.path()); }

  /// What a walk hands out when it skips after some objects: by plain recursion.
  Paths expected(bool (*skips)(const std::string&)) {
    Paths paths;
    list(scratch_.path().c_str(), {}, skips, paths);
    return paths;
  }

  void list(FileAt place, const std::string& prefix, bool (*skips)(const std::string&),
            Paths& paths) {
    auto folder = files_->openFolder(place, Links::stay);
    while (const auto entry = *folder->next()) {
      const auto path = paths.emplace_back(prefix + entry->name);
      const bool isFolder = entry->type == file_type::folder;
      if (skips(path) && !isFolder) return;
      if (!skips(path) && isFolder) list({*folder, entry->name}, path + "/", skips, paths);
    }
  }

  test::ScratchFolder scratch_;
  test::RecordingLog log_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

TEST_F(WalkAheadTest, EverythingComesOnceAndInOrder) {
  for (const auto skips : {never, nowAndThen}) {
    const auto paths = expected(skips);
    for (const bool areStatusesExpected : {false, true}) {
      const auto walk = this->walk();
      if (areStatusesExpected) walk->expectStatuses();
      Paths seen;
      while (walk->advance()) {
        const auto path = seen.emplace_back(walk->objectPath());
        const auto status = files_->status(scratch_.path(path).c_str(), Links::stay);
        ASSERT_EQ(walk->objectStatus()->inode, status->inode) << path;
        ASSERT_EQ(files_->status(walk->object(), Links::stay)->inode, status->inode) << path;
        ASSERT_EQ(walk->isInsideObject(), status->isFolder()) << path;
        if (skips(path)) walk->skipDescendents();
      }
      EXPECT_EQ(seen, paths);
    }
  }
}

TEST_F(WalkAheadTest, WhatWasListedLongAgoIsListedAgain) {
  const auto walk = this->walk();
  std::set<std::string> begun;
  for (int i = 0; i < 1000 && walk->advance(); ++i) begun.insert(walk->objectPath());
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  Paths added, seen;
  for (int outer = 0; outer < 12; ++outer) {
    const auto folder = std::to_string(outer);
    if (begun.contains(folder)) continue;
    scratch_.file(folder + "/added");
    added.push_back(folder + "/added");
  }
  while (const auto path = walk->nextObject()) seen.push_back(*path);
  ASSERT_FALSE(added.empty());
  EXPECT_THAT(seen, testing::IsSupersetOf(added));
}

TEST_F(WalkAheadTest, TheWalkItselfIsFirstToHaveDescriptors) {
  const auto paths = expected(never);
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  for (const rlim_t room : {8u, 12u, 20u, 60u}) {
    rlimit few = before;
    few.rlim_cur = static_cast<rlim_t>(FileDescriptor(dup(0)).get()) + room;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const auto walk = this->walk();
    const auto seen = walk->allObjects();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(seen, paths) << room;
    EXPECT_EQ(walk->failure(), PosixCode::success) << room;
  }
}

}  // namespace
}  // namespace qrt
