#include "filesystem/QRTDirectoryEnumerator.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>

#include "platform/NativeFileSystem.h"
#include "support/Mounts.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class EnumeratorTest : public testing::Test {
 protected:
  auto at(const std::string& path, bool stay = false) {
    return QRTDirectoryEnumerator::enumeratorAtPath(*files_, log_, path, stay);
  }
  std::vector<std::string> allAt(const std::string& path, bool stay = false) {
    return at(path, stay)->allObjects();
  }

  /// A chain of folders below `name`, made by descriptors because its path may be too long for the
  /// system.
  FileDescriptor makeChain(const std::string& name, const std::string& component, int levels) {
    FileDescriptor folder(open(scratch_.folder(name).c_str(), O_RDONLY | O_DIRECTORY));
    for (int level = 0; level < levels; ++level) {
      EXPECT_EQ(mkdirat(folder.get(), component.c_str(), 0755), 0);
      folder = FileDescriptor(openat(folder.get(), component.c_str(), O_RDONLY | O_DIRECTORY));
    }
    return folder;
  }

  test::ScratchFolder scratch_;
  test::RecordingLog log_;
  std::unique_ptr<FileSystem> files_ = makeNativeFileSystem();
};

test::RecordingLog::Line skipping(const std::string& limit) {
  return {LogLevel::standard, "QRTDirectoryEnumerator: maximum " + limit + " reached. Skipping..."};
}

TEST_F(EnumeratorTest, OnlyAnExistingFolderIsABase) {
  const auto file = scratch_.file("file");
  EXPECT_EQ(at(""), nullptr);
  EXPECT_THAT(log_.lines(), IsEmpty());
  for (const auto& path : {file, scratch_.path("missing"), std::string("/\0", 2)}) {
    EXPECT_EQ(at(path), nullptr);
  }
  const test::RecordingLog::Line line{
      LogLevel::error,
      "QRTDirectoryEnumerator: attempt to initialize with invalid path '<private>'"};
  EXPECT_THAT(log_.lines(), ElementsAre(line, line, line));
}

TEST_F(EnumeratorTest, SkippingLeavesTheFolderThatTheWalkIsIn) {
  scratch_.make("mkdir -p base/folder; touch base/folder/1 base/folder/2 base/folder/3");
  // After a folder that was entered: its contents. After a file: the rest of the folder that holds
  // it. Beyond the end: nothing.
  for (const int steps : {1, 2}) {
    const auto walk = at(scratch_.path("base"));
    for (int i = 0; i < steps; ++i) EXPECT_TRUE(walk->nextObject());
    for (int i = 0; i < 2; ++i) {
      walk->skipDescendents();
      EXPECT_EQ(walk->nextObject(), std::nullopt);
    }
  }
}

TEST_F(EnumeratorTest, TheObjectIsReachedThroughItsFolder) {
  scratch_.make("mkdir -p a/b; printf '12345' > a/b/file");
  const auto walk = at(scratch_.path());
  walk->nextObject();
  EXPECT_EQ(walk->objectType(), file_type::folder);
  walk->nextObject();
  walk->nextObject();
  ASSERT_EQ(rename(scratch_.path("a").c_str(), scratch_.path("moved").c_str()), 0);
  EXPECT_STREQ(walk->object().name, "file");
  EXPECT_EQ(files_->status(walk->object(), Links::stay)->size, 5u);
}

TEST_F(EnumeratorTest, AFoundFolderIsWalkedWithoutItsPath) {
  scratch_.folder("a");
  scratch_.file("a/file");
  scratch_.link("link", "a");
  const auto base = files_->locate(scratch_.path("a"));
  const auto in = [&](const char* name) {
    return QRTDirectoryEnumerator::enumeratorAtObject(*files_, log_, {base->parent, name},
                                                      "/elsewhere", true);
  };
  EXPECT_THAT(in("a")->allObjects(), ElementsAre("file"));
  EXPECT_EQ(in("link"), nullptr);
}

TEST_F(EnumeratorTest, StayingKeepsOutOfMountedVolumes) {
  scratch_.folder("base");
  const test::Mount mount(test::Mount::Kind::memory, scratch_.folder("base/volume"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount";
  scratch_.file("base/volume/inside");
  const auto base = scratch_.path("base");
  EXPECT_THAT(allAt(base), ElementsAre("volume", "volume/inside"));
  EXPECT_THAT(allAt(base, true), ElementsAre("volume"));

  // A base that is a link is followed, but its file system is that of the link itself.
  scratch_.make("mkdir base/volume/folder; touch base/volume/folder/deep");
  const auto link = scratch_.link("link", "base/volume");
  EXPECT_THAT(allAt(link, true), UnorderedElementsAre("inside", "folder"));
  EXPECT_THAT(allAt(link), UnorderedElementsAre("inside", "folder", "folder/deep"));
}

TEST_F(EnumeratorTest, TypesAreAskedForWhereTheListingDoesNotTellThem) {
  const test::Mount mount(test::Mount::Kind::ext4WithoutTypes, scratch_.folder("mount"));
  if (!mount.isMounted()) GTEST_SKIP() << "needs the right to mount and the file system's tools";
  scratch_.make("mkdir mount/a; touch mount/a/file; ln -s a mount/link");
  EXPECT_THAT(allAt(scratch_.path("mount")),
              UnorderedElementsAre("lost+found", "a", "a/file", "link"));
}

TEST_F(EnumeratorTest, TheVolumeNamespaceIsNotEntered) {
  // Five bytes decide, so any name that begins with them will do.
  std::string hidden = "/.vol-qrt-test-XXXXXX";
  if (mkdtemp(hidden.data()) == nullptr) GTEST_SKIP() << "needs the right to write to /";
  EXPECT_TRUE(test::run({"mkdir", "-p", hidden + "/folder/inner"}));
  const auto below = allAt(hidden), staying = allAt(hidden, true);
  const auto fromElsewhere = allAt("/./" + hidden);
  test::run({"rm", "-rf", hidden});
  EXPECT_THAT(below, ElementsAre("folder"));
  EXPECT_THAT(staying, ElementsAre("folder", "folder/inner"));
  EXPECT_EQ(fromElsewhere, staying);
}

TEST_F(EnumeratorTest, NestingIsLimited) {
  const auto end = makeChain("deep", "d", 600);
  const auto paths = allAt(scratch_.path("deep"));
  ASSERT_EQ(paths.size(), 500u);
  EXPECT_EQ(paths.back().size(), 999u);
  EXPECT_THAT(log_.lines(), ElementsAre(skipping("number of nested directories")));
}

TEST_F(EnumeratorTest, TheRelativePathIsLimited) {
  // Nine levels of 100 bytes and their separators are 908 bytes; one more of 115 makes 1024.
  for (const auto& [last, isEntered] : {std::pair(115, true), std::pair(116, false)}) {
    const auto name = "long" + std::to_string(last);
    const auto end = makeChain(name, std::string(100, 'n'), 9);
    const std::string component(static_cast<std::size_t>(last), 'l');
    ASSERT_EQ(mkdirat(end.get(), component.c_str(), 0755), 0);
    const FileDescriptor folder(openat(end.get(), component.c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(mkdirat(folder.get(), "below", 0755), 0);

    const auto paths = allAt(scratch_.path(name));
    EXPECT_EQ(paths.size(), isEntered ? 11u : 10u);
    EXPECT_EQ(paths[9].size(), 909u + static_cast<std::size_t>(last));
  }
  // The folder below the longest one, and the one that was too long.
  EXPECT_THAT(log_.lines(), ElementsAre(skipping("path length"), skipping("path length")));
}

TEST_F(EnumeratorTest, ANameOf255BytesBelowTheFirstLevelAddsNothing) {
  const std::string longName(255, 'n');
  const auto inside = makeChain("base", longName, 3);
  ASSERT_EQ(mkdirat(inside.get(), "x", 0755), 0);
  ASSERT_EQ(unlinkat(inside.get(), "x", AT_REMOVEDIR), 0);
  ASSERT_GE(FileDescriptor(openat(inside.get(), "file", O_CREAT, 0600)).get(), 0);
  EXPECT_THAT(allAt(scratch_.path("base")),
              ElementsAre(longName, longName + "/" + longName, longName + "/" + longName,
                          longName + "/file"));
}

TEST_F(EnumeratorTest, RunningOutOfDescriptorsEndsTheWalkAndIsTold) {
  makeChain("deep", "d", 40);
  auto walk = at(scratch_.path("deep"));
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const FileDescriptor next(dup(0));
  rlimit few = before;
  few.rlim_cur = static_cast<rlim_t>(next.get()) + 10;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  const auto paths = walk->allObjects();
  const auto withoutBase = (few.rlim_cur = 0, setrlimit(RLIMIT_NOFILE, &few), at("/"));
  setrlimit(RLIMIT_NOFILE, &before);

  EXPECT_LT(paths.size(), 12u);
  EXPECT_EQ(walk->failure(), PosixCode::tooManyFiles);
  EXPECT_EQ(withoutBase->nextObject(), std::nullopt);
  EXPECT_EQ(withoutBase->failure(), PosixCode::tooManyFiles);
}

TEST_F(EnumeratorTest, AnUnreadableFolderIsPassedOverInSilence) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to become somebody else";
  scratch_.make("mkdir -p base/locked; touch base/locked/file; chmod 0700 base/locked");
  ASSERT_EQ(seteuid(65534), 0);
  const auto walk = at(scratch_.path("base"));
  const auto paths = walk->allObjects();
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_THAT(paths, ElementsAre("locked"));
  EXPECT_EQ(walk->failure(), PosixCode::success);
}

}  // namespace
}  // namespace qrt
