#include "filesystem/walk/QRTDirectoryEnumerator.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <functional>
#include <set>
#include <thread>

#include "filesystem/FolderChain.h"
#include "filesystem/OperationFixture.h"
#include "filesystem/walk/Prefetch.h"
#include "support/Mounts.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::makeChain;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

using Paths = std::vector<std::string>;

/// What an action answers that has so many descriptors more.
template <class Action>
auto withDescriptors(rlim_t room, Action action) {
  rlimit before{};
  EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const auto next = static_cast<rlim_t>(FileDescriptor(dup(0)).get());
  const rlimit few{next + room, before.rlim_max};
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  auto answer = action();
  setrlimit(RLIMIT_NOFILE, &before);
  return answer;
}

class EnumeratorTest : public test::OperationFixture {
 protected:
  auto at(const std::string& path, bool stay = false) {
    return QRTDirectoryEnumerator::enumeratorAtPath(withLog_, path, stay);
  }
  Paths allAt(const std::string& path, bool stay = false) { return at(path, stay)->allObjects(); }

  test::RecordingLog log_;
  const Platform withLog_ = platform_.forRequest(log_, 0, StopRequest::never());
};

TEST_F(EnumeratorTest, RefusesWhatIsNoFolder) {
  const auto file = scratch_.file("file");
  for (const auto& path : {std::string(), scratch_.path() + '\0', file}) EXPECT_FALSE(at(path));
  EXPECT_FALSE(QRTDirectoryEnumerator::enumeratorAtObject(withLog_, file.c_str(), file, false));
  EXPECT_TRUE(at("/")->nextObject()) << "the folder of the volume namespace";
}

TEST_F(EnumeratorTest, ALinkAsBaseStaysOnTheFileSystemOfTheLinkItself) {
  const test::Mount mount(test::Mount::Kind::memory, scratch_.folder("volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  scratch_.make("mkdir volume/folder; touch volume/inside volume/folder/deep; ln -s volume link");
  const auto link = scratch_.path("link");
  EXPECT_THAT(allAt(link, true), UnorderedElementsAre("inside", "folder"));
  EXPECT_THAT(allAt(link), UnorderedElementsAre("inside", "folder", "folder/deep"));
}

TEST_F(EnumeratorTest, TheVolumeNamespaceIsNotEntered) {
  // Five bytes decide, so any name that begins with them will do.
  std::string hidden = "/.vol-qrt-test-XXXXXX";
  if (mkdtemp(hidden.data()) == nullptr) GTEST_SKIP() << "needs the right to write to /";
  EXPECT_TRUE(test::run({"mkdir", "-p", hidden + "/folder/inner", hidden + "/other"}));
  const auto below = allAt(hidden), staying = allAt(hidden, true);
  const auto fromElsewhere = allAt("/./" + hidden);
  test::run({"rm", "-rf", hidden});
  EXPECT_THAT(below, UnorderedElementsAre("folder", "other"));
  EXPECT_THAT(staying, UnorderedElementsAre("folder", "folder/inner", "other"));
  EXPECT_EQ(fromElsewhere, staying);
}

TEST_F(EnumeratorTest, TheRelativePathIsLimited) {
  // Nine levels of 100 bytes and their separators are 908 bytes; one more of 115 makes 1024.
  for (const auto& [length, isEntered] : {std::pair(115u, true), {116u, false}}) {
    const auto top = scratch_.folder("long" + std::to_string(length));
    const auto end = makeChain(top, std::string(100, 'n'), 9);
    const std::string last(length, 'l');
    ASSERT_EQ(mkdirat(end.get(), last.c_str(), 0755), 0);
    ASSERT_EQ(mkdirat(end.get(), (last + "/below").c_str(), 0755), 0);

    const auto paths = allAt(top);
    EXPECT_EQ(paths.size(), isEntered ? 11u : 10u);
    EXPECT_EQ(paths[9].size(), 909u + length);
  }
  // The folder below the longest one, and the one that was too long.
  const test::RecordingLog::Line line{
      LogLevel::standard, "QRTDirectoryEnumerator: maximum path length reached. Skipping..."};
  EXPECT_THAT(log_.lines(), ElementsAre(line, line));
}

TEST_F(EnumeratorTest, RunningOutOfDescriptorsEndsTheWalkWithAnError) {
  makeChain(scratch_.path(), "d", 40);
  const auto walk = at(scratch_.path());
  EXPECT_LT(withDescriptors(10, [&] { return walk->allObjects(); }).size(), 12u);
  EXPECT_EQ(walk->failure(), PosixCode::tooManyFiles);
}

TEST_F(EnumeratorTest, ARecordingReadsStatusesThroughFoldersThatItClosed) {
  scratch_.make(
      "mkdir -p top/one/two top/three;"
      "touch top/file top/one/file top/one/last top/one/two/file top/three/file top/three/last");
  const WalkBounds bounds(platform_.files, log_, scratch_.path());
  auto base = platform_.files.openFolder(scratch_.path().c_str(), Links::stay);
  const UpcomingFolder top{std::make_shared<Folder>(std::move(*base)), {}, "top", "top"};
  PrefetchedFolder recording(platform_.files, bounds, top, PrefetchedFolder::Statuses::leave,
                             PrefetchedFolder::Holders::ofFolders, 14);
  recording.record();
  auto path = top.path;
  int closed = 0;
  while (const auto* entry = recording.next()) {
    entry->depth.lead(path, entry->name);
    if (entry->holder != nullptr) continue;
    const auto expected = platform_.files.status(scratch_.path(path).c_str(), Links::stay);
    const auto status = recording.readStatus();
    ASSERT_TRUE(status) << path;
    EXPECT_EQ(status->inode, expected->inode) << path;
    ++closed;
  }
  EXPECT_EQ(closed, 6);
}

bool never(const std::string&) { return false; }
bool often(const std::string& path) { return std::hash<std::string>()(path) % 3 == 1; }
bool nowAndThen(const std::string& path) { return std::hash<std::string>()(path) % 23 == 7; }

/// Walks long enough that a second thread lists ahead of them.
class PrefetchTest : public EnumeratorTest {
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
      // More bytes of names than are recorded at once.
      for (int file = 0; file < 150; ++file) {
        const auto number = std::to_string(file);
        scratch_.file(std::to_string(outer) + "/" + number + std::string(255 - number.size(), 'n'));
      }
    }
  }

  /// What a walk hands out when it skips after some objects: by plain recursion.
  void list(FileAt place, const std::string& prefix, bool (*skips)(const std::string&),
            Paths& paths) {
    auto folder = platform_.files.openFolder(place, Links::stay);
    while (const auto entry = *folder->next()) {
      const auto path = paths.emplace_back(prefix + entry->name);
      const bool isFolder = entry->type == file_type::folder;
      if (skips(path) && !isFolder) return;
      if (!skips(path) && isFolder) list({*folder, entry->name}, path + "/", skips, paths);
    }
  }
};

TEST_F(PrefetchTest, ReturnsEverythingOnceAndInOrder) {
  for (const auto skips : {never, often, nowAndThen}) {
    Paths paths;
    list(scratch_.path().c_str(), {}, skips, paths);
    for (const bool areStatusesExpected : {false, true}) {
      const auto walk = at(scratch_.path());
      if (areStatusesExpected) walk->expectStatuses();
      Paths seen;
      while (walk->advance()) {
        const auto path = seen.emplace_back(walk->objectPath());
        const auto status = platform_.files.status(scratch_.path(path).c_str(), Links::stay);
        ASSERT_EQ(walk->objectStatus()->inode, status->inode) << path;
        if (status->isFolder()) {
          ASSERT_EQ(platform_.files.status(walk->folder(), Links::stay)->inode, status->inode);
        }
        ASSERT_EQ(walk->isInsideObject(), status->isFolder()) << path;
        if (skips(path)) walk->skipDescendents();
      }
      // Beyond the end there is nothing to skip.
      walk->skipDescendents();
      EXPECT_FALSE(walk->advance());
      EXPECT_EQ(seen, paths);
    }
  }
}

TEST_F(PrefetchTest, ListsAFolderAgainAfterASecond) {
  const auto walk = at(scratch_.path());
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

TEST_F(PrefetchTest, GivesItsDescriptorsToTheWalk) {
  Paths paths;
  list(scratch_.path().c_str(), {}, never, paths);
  for (const rlim_t room : {8u, 12u, 20u, 60u}) {
    const auto [seen, failure] = withDescriptors(room, [&] {
      const auto walk = at(scratch_.path());
      auto all = walk->allObjects();
      return std::pair(all, walk->failure());
    });
    EXPECT_EQ(seen, paths) << room;
    EXPECT_EQ(failure, PosixCode::success) << room;
  }
}

}  // namespace
}  // namespace qrt
