#include "filesystem/FileManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "filesystem/FileManagerError.h"
#include "support/FileSystemDouble.h"
#include "support/Mounts.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using testing::UnorderedElementsAre;

TEST(FileManagerError, HasTheCodesOfTheCocoaDomain) {
  struct Case {
    PosixCode cause;
    std::int64_t reading;
    std::int64_t writing;
  };
  for (const auto& c :
       {Case{PosixCode::noEntry, 260, 4}, Case{PosixCode::notPermitted, 257, 513},
        Case{PosixCode::permissionDenied, 257, 513}, Case{PosixCode::exists, 256, 516},
        Case{PosixCode::nameTooLong, 258, 514}, Case{PosixCode::noSpace, 256, 640},
        Case{PosixCode::quotaExceeded, 256, 640}, Case{PosixCode::readOnlyFileSystem, 256, 642},
        Case{PosixCode::notEmpty, 256, 512}, Case{PosixCode::tooManyFiles, 256, 512}}) {
    EXPECT_EQ(fileReadError(c.cause, "/x").code, c.reading) << number(c.cause);
    EXPECT_EQ(fileWriteError(c.cause, "/x").code, c.writing) << number(c.cause);
  }
  const Dictionary userInfo{{"NSFilePath", "/x"},
                            {"NSUnderlyingError", posixError(PosixCode::noEntry)}};
  EXPECT_EQ(fileReadError(PosixCode::noEntry, "/x"), (Error{"NSCocoaErrorDomain", 260, userInfo}));
}

class FileManagerTest : public testing::Test {
 protected:
  test::ScratchFolder scratch_;
  test::FileSystemDouble files_;
};

TEST_F(FileManagerTest, ExistenceFollowsLinks) {
  scratch_.folder("folder");
  scratch_.file("file");
  scratch_.link("toFolder", "folder");
  scratch_.link("dangling", "nowhere");
  const auto kind = [this](const std::string& path) {
    bool isFolder = false;
    if (!FileManager::fileExistsAtPath(files_, path, &isFolder)) return "nothing";
    return isFolder ? "folder" : "file";
  };
  EXPECT_STREQ(kind(scratch_.path("folder")), "folder");
  EXPECT_STREQ(kind(scratch_.path("toFolder")), "folder");
  EXPECT_STREQ(kind(scratch_.path("file")), "file");
  EXPECT_STREQ(kind(scratch_.path("dangling")), "nothing");
  EXPECT_STREQ(kind(""), "nothing");
  EXPECT_STREQ(kind(scratch_.path("folder") + std::string("\0x", 2)), "nothing");
}

TEST_F(FileManagerTest, AttributesAreThoseOfALinkItself) {
  scratch_.link("dangling", "nowhere");
  EXPECT_TRUE(FileManager::attributesOfItemAtPath(files_, scratch_.path("dangling"))->isLink());
  EXPECT_EQ(FileManager::attributesOfItemAtPath(files_, scratch_.path("x")).error().code, 260);
}

TEST_F(FileManagerTest, ContentsHoldHiddenNames) {
  scratch_.folder("folder");
  scratch_.file("folder/.hidden");
  scratch_.folder("folder/inner");
  scratch_.link("link", "folder");
  EXPECT_THAT(*FileManager::contentsOfDirectoryAtPath(files_, scratch_.path("link")),
              UnorderedElementsAre(".hidden", "inner"));
  const auto file = scratch_.file("file");
  EXPECT_EQ(FileManager::contentsOfDirectoryAtPath(files_, file).error(),
            fileReadError(PosixCode::notDirectory, file));
}

TEST_F(FileManagerTest, RemovalTakesEverythingAndFollowsNothing) {
  scratch_.folder("precious");
  scratch_.file("precious/file");
  scratch_.folder("top");
  scratch_.folder("top/inner");
  scratch_.file("top/inner/not \xFF utf8\nand a line");
  scratch_.file("top/inner/" + std::string(255, 'n'));
  scratch_.link("top/toPrecious", "../precious");
  scratch_.link("top/dangling", "nowhere");
  ASSERT_EQ(mkfifo(scratch_.path("top/fifo").c_str(), 0600), 0);
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")), success);
  EXPECT_FALSE(test::exists(scratch_.path("top")));
  EXPECT_TRUE(test::exists(scratch_.path("precious/file")));

  scratch_.link("link", "precious");
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("link")), success);
  EXPECT_FALSE(test::exists(scratch_.path("link")));
  EXPECT_TRUE(test::exists(scratch_.path("precious/file")));
}

TEST_F(FileManagerTest, TheErrorNamesWhatCouldNotBeRemoved) {
  const auto missing = scratch_.path("missing");
  EXPECT_EQ(FileManager::removeItemAtPath(files_, missing),
            fileWriteError(PosixCode::noEntry, missing));

  scratch_.folder("top");
  scratch_.folder("top/a");
  const auto kept = scratch_.file("top/a/kept");
  if (!scratch_.changeFlags("top/a/kept", "+a")) GTEST_SKIP() << "needs the right to set flags";
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")),
            fileWriteError(PosixCode::notPermitted, kept));
}

TEST_F(FileManagerTest, AFolderThatFillsUpAgainIsEmptiedAgainButNotForEver) {
  scratch_.folder("top");
  const auto file = scratch_.file("top/file");
  int added = 0;
  int limit = 3;
  files_.beforeRemoval = [&](FileAt object) -> std::optional<PosixCode> {
    if (object.name == std::string("top") && added < limit) {
      scratch_.file("top/new" + std::to_string(added++));
    }
    return std::nullopt;
  };
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")), success);
  EXPECT_EQ(added, 3);

  scratch_.folder("top");
  limit = 1'000'000;
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")),
            fileWriteError(PosixCode::notEmpty, scratch_.path("top")));
}

TEST_F(FileManagerTest, WhatGoesByItselfIsNoError) {
  scratch_.folder("top");
  scratch_.file("top/file");
  files_.beforeRemoval = [&](FileAt object) -> std::optional<PosixCode> {
    if (object.name == std::string("file")) unlink(scratch_.path("top/file").c_str());
    return std::nullopt;
  };
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")), success);
}

}  // namespace
}  // namespace qrt
