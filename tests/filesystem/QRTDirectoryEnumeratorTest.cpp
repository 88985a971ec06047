#include "filesystem/QRTDirectoryEnumerator.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include "filesystem/FolderChain.h"
#include "support/ItemFixture.h"
#include "support/Mounts.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::makeChain;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class EnumeratorTest : public test::ItemFixture {
 protected:
  auto at(const std::string& path, bool stay = false) {
    return QRTDirectoryEnumerator::enumeratorAtPath(context_.files, log_, path, stay);
  }
  std::vector<std::string> allAt(const std::string& path, bool stay = false) {
    return at(path, stay)->allObjects();
  }

  test::RecordingLog log_;
};

TEST_F(EnumeratorTest, OnlyAnExistingFolderIsABase) {
  EXPECT_EQ(at(""), nullptr);
  EXPECT_THAT(log_.lines(), IsEmpty());
  for (const auto& path :
       {scratch_.file("file"), scratch_.path("missing"), std::string("/\0", 2)}) {
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

TEST_F(EnumeratorTest, AFoundFolderAndItsObjectsAreReachedWithoutTheirPaths) {
  scratch_.make("mkdir -p top/a; printf '12345' > top/a/file; ln -s a top/link");
  const auto base = context_.files.locate(scratch_.path("top/a"));
  ASSERT_EQ(rename(scratch_.path("top").c_str(), scratch_.path("moved").c_str()), 0);
  const auto in = [&](const char* name) {
    return QRTDirectoryEnumerator::enumeratorAtObject(context_.files, log_, {base->parent, name},
                                                      "/elsewhere", true);
  };
  const auto walk = in("a");
  EXPECT_EQ(walk->nextObject(), "file");
  EXPECT_EQ(context_.files.status(walk->object(), Links::stay)->size, 5u);
  EXPECT_EQ(in("link"), nullptr);
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
  // Skipping after a folder that was not entered leaves the one that holds it.
  const auto walk = at(hidden);
  EXPECT_TRUE(walk->nextObject());
  walk->skipDescendents();
  const auto afterSkipping = walk->nextObject();
  test::run({"rm", "-rf", hidden});
  EXPECT_THAT(below, UnorderedElementsAre("folder", "other"));
  EXPECT_THAT(staying, UnorderedElementsAre("folder", "folder/inner", "other"));
  EXPECT_EQ(fromElsewhere, staying);
  EXPECT_EQ(afterSkipping, std::nullopt);
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

TEST_F(EnumeratorTest, ANameOf255BytesBelowTheFirstLevelAddsNothing) {
  const std::string longName(255, 'n');
  const auto inside = makeChain(scratch_.path(), longName, 3);
  ASSERT_GE(FileDescriptor(openat(inside.get(), "file", O_CREAT, 0600)).get(), 0);
  EXPECT_THAT(allAt(scratch_.path()), ElementsAre(longName, longName + "/" + longName,
                                                  longName + "/" + longName, longName + "/file"));
}

TEST_F(EnumeratorTest, RunningOutOfDescriptorsEndsTheWalkAndIsTold) {
  makeChain(scratch_.path(), "d", 40);
  const auto walk = at(scratch_.path());
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const FileDescriptor next(dup(0));
  rlimit few = before;
  few.rlim_cur = static_cast<rlim_t>(next.get()) + 10;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  const auto paths = walk->allObjects();
  few.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  const auto withoutBase = at("/");
  setrlimit(RLIMIT_NOFILE, &before);

  EXPECT_LT(paths.size(), 12u);
  EXPECT_EQ(walk->failure(), PosixCode::tooManyFiles);
  EXPECT_EQ(withoutBase->nextObject(), std::nullopt);
  EXPECT_EQ(withoutBase->failure(), PosixCode::tooManyFiles);
}

}  // namespace
}  // namespace qrt
