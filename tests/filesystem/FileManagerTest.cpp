#include "filesystem/FileManager.h"

#include "filesystem/FileManagerError.h"
#include "support/FileSystemDouble.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

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
  scratch_.make("mkdir top; touch top/file");
  files_.beforeRemoval = [&](FileAt object) -> std::optional<PosixCode> {
    if (object.name == std::string("file")) unlink(scratch_.path("top/file").c_str());
    return std::nullopt;
  };
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")), success);
}

}  // namespace
}  // namespace qrt
