#include "filesystem/QRTFileDeletionAdditions.h"

#include <sys/sysmacros.h>

#include <atomic>

#include "filesystem/FileManagerError.h"
#include "support/FileSystemDouble.h"
#include "support/Mounts.h"

namespace qrt {
namespace {

namespace additions = QRTFileDeletionAdditions;
using additions::Code;
using file_flag::userImmutable;

constexpr bool recursively = true;
constexpr bool singly = false;

Error fileDeletionError(Code code, const std::string& path) {
  return {
      "com.vantor.error.file-deletion", static_cast<std::int64_t>(code), {{"NSFilePath", path}}};
}

class DeletionTest : public testing::Test {
 protected:
  Outcome remove(const std::string& path, bool recursive) {
    return additions::enforceRemovalOfFileSystemObjectAtPath(context_, path, recursive);
  }
  std::uint32_t flagsOf(const std::string& path) {
    return files_.status(path.c_str(), Links::stay)->flags;
  }

  test::ScratchFolder scratch_;
  test::FileSystemDouble files_;
  DeletionContext context_{files_, 0x10B0};
};

#define NEEDS_FLAGS(change) \
  if (!(change)) GTEST_SKIP() << "needs the right to set flags on a file system that has them"

TEST_F(DeletionTest, NothingThere) {
  const auto deeper = scratch_.path("missing/deeper");
  EXPECT_EQ(remove("", singly), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(remove("", recursively), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(remove(deeper, singly), posixError(PosixCode::noEntry));
  EXPECT_EQ(remove(deeper, recursively), success);
}

TEST_F(DeletionTest, SinglyBothUserFlagsAreCleared) {
  for (const char* flags : {"+i", "+a", "+ia"}) {
    scratch_.file("file");
    NEEDS_FLAGS(scratch_.changeFlags("file", flags));
    EXPECT_EQ(remove(scratch_.path("file"), singly), success) << flags;
    scratch_.folder("folder");
    NEEDS_FLAGS(scratch_.changeFlags("folder", flags));
    EXPECT_EQ(remove(scratch_.path("folder"), singly), success) << flags;
  }
}

TEST_F(DeletionTest, SinglySystemFlagsAndWhiteoutsAreRefused) {
  const auto file = scratch_.file("file");
  NEEDS_FLAGS(scratch_.changeFlags("file", "+i"));
  for (const auto flag : {file_flag::systemImmutable, file_flag::systemAppendOnly}) {
    files_.plantFlags(file, flag);
    EXPECT_EQ(remove(file, singly), fileDeletionError(Code::systemFlags, file));
    EXPECT_EQ(flagsOf(file), flag | userImmutable);  // Nothing was changed.
  }
  const auto whiteout = scratch_.path("whiteout");
  ASSERT_EQ(mknod(whiteout.c_str(), S_IFCHR, makedev(0, 0)), 0);
  EXPECT_EQ(remove(whiteout, singly), fileDeletionError(Code::whiteout, whiteout));
}

TEST_F(DeletionTest, SinglyFlagsThatCannotBeClearedAreTold) {
  const auto file = scratch_.file("file");
  files_.plantFlags(file, file_flag::userAppendOnly);
  files_.setFlagsAnswer = PosixCode::notSupported;
  EXPECT_EQ(remove(file, singly), fileDeletionError(Code::flagsNotChangeable, file));
}

TEST_F(DeletionTest, SystemIntegrityProtectionExplainsARefusal) {
  const auto file = scratch_.file("file");
  files_.plantFlags(file, file_flag::restricted);
  files_.beforeRemoval = [](FileAt) { return PosixCode::notPermitted; };
  auto expected = fileDeletionError(Code::systemProtected, file);
  expected.userInfo.emplace("NSUnderlyingError", posixError(PosixCode::notPermitted));
  EXPECT_EQ(remove(file, singly), expected);

  expected.userInfo.insert_or_assign("NSUnderlyingError",
                                     fileWriteError(PosixCode::notPermitted, file));
  EXPECT_EQ(remove(file, recursively), expected);

  // Of another refusal, before there was such a protection, and without the flags it says nothing.
  files_.beforeRemoval = [](FileAt) { return PosixCode::busy; };
  EXPECT_EQ(remove(file, singly), posixError(PosixCode::busy));
  files_.beforeRemoval = [](FileAt) { return PosixCode::notPermitted; };
  context_.operatingSystemVersionCode = 0x10AF;
  EXPECT_EQ(remove(file, singly), posixError(PosixCode::notPermitted));
  context_.operatingSystemVersionCode = 0x10B0;
  files_.plantFlags(file, 0);
  EXPECT_EQ(remove(file, singly), posixError(PosixCode::notPermitted));
}

TEST_F(DeletionTest, RecursivelyAllFlagsAreClearedBeforeAnythingGoes) {
  scratch_.folder("top");
  for (int i = 0; i < 40; ++i) {
    const auto folder = "top/" + std::to_string(i);
    scratch_.folder(folder);
    for (int k = 0; k < 5; ++k) scratch_.file(folder + "/" + std::to_string(k));
  }
  NEEDS_FLAGS(scratch_.changeFlags("top/7/3", "+i"));
  std::atomic<bool> isCalled = false;
  files_.beforeRemoval = [&](FileAt) -> std::optional<PosixCode> {
    EXPECT_EQ(flagsOf(scratch_.path("top/7/3")), 0u);
    isCalled = true;
    return PosixCode::busy;
  };
  const auto error = remove(scratch_.path("top"), recursively);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "NSCocoaErrorDomain");
  EXPECT_TRUE(isCalled);
}

TEST_F(DeletionTest, RecursivelyALinkGoesAndItsTargetStays) {
  scratch_.folder("target");
  const auto file = scratch_.file("target/file");
  NEEDS_FLAGS(scratch_.changeFlags("target/file", "+i"));
  scratch_.link("link", "target");
  EXPECT_EQ(remove(scratch_.path("link"), recursively), success);
  EXPECT_FALSE(test::exists(scratch_.path("link")));
  EXPECT_EQ(flagsOf(file), userImmutable);

  // So do the links in a tree; their targets keep their flags.
  scratch_.folder("top");
  scratch_.link("top/link", file);
  EXPECT_EQ(remove(scratch_.path("top"), recursively), success);
  EXPECT_EQ(flagsOf(file), userImmutable);
}

TEST_F(DeletionTest, RecursivelyAFailedFlagPassChangesNothing) {
  scratch_.folder("top");
  const auto file = scratch_.file("top/file");
  files_.plantFlags(scratch_.path("top"), file_flag::restricted);
  files_.setFlagsAnswer = PosixCode::inputOutput;
  auto expected = fileDeletionError(Code::systemProtected, scratch_.path("top"));
  expected.userInfo.emplace("NSUnderlyingError", posixError(PosixCode::inputOutput));
  EXPECT_EQ(remove(scratch_.path("top"), recursively), expected);
  EXPECT_TRUE(test::exists(file));

  files_.setFlagsAnswer = PosixCode::notSupported;
  EXPECT_EQ(remove(scratch_.path("top"), recursively), success);
}

TEST_F(DeletionTest, TheImmutableFlagOfADanglingLinkIsNoneUnlessOneInsists) {
  const auto dangling = scratch_.link("dangling", "nowhere");
  const auto set = [this](const std::string& path, bool checking) {
    return additions::setImmutableFlag(files_, true, path, checking);
  };
  EXPECT_EQ(set(dangling, true), posixError(PosixCode::noEntry));
  EXPECT_EQ(set(dangling, false), success);
  EXPECT_EQ(set("", false), posixError(PosixCode::invalidArgument));
  EXPECT_EQ(set(scratch_.path("missing"), false), posixError(PosixCode::noEntry));
}

}  // namespace
}  // namespace qrt
