#include "filesystem/DeletionOperations.h"

#include <gmock/gmock.h>

#include <atomic>

#include "filesystem/FileManager.h"
#include "filesystem/FileManagerError.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"
#include "support/DeviceNumbers.h"
#include "support/FakeFeedback.h"
#include "support/FileSystemDouble.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(FileManagerTest, AttributesAreOfTheLinkAndContentsOfItsTarget) {
  scratch_.make("mkdir folder; touch folder/.hidden file; ln -s folder link");
  const auto link = scratch_.path("link"), file = scratch_.path("file");
  EXPECT_TRUE(FileManager::attributesOfItemAtPath(files_, link)->isLink());
  EXPECT_EQ(FileManager::attributesOfItemAtPath(files_, scratch_.path("x")).error().code, 260);
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("x")),
            fileWriteError(PosixCode::noEntry, scratch_.path("x")));
  EXPECT_THAT(*FileManager::contentsOfDirectoryAtPath(files_, link), ElementsAre(".hidden"));
  EXPECT_EQ(FileManager::contentsOfDirectoryAtPath(files_, file).error(),
            fileReadError(PosixCode::notDirectory, file));
}

TEST_F(FileManagerTest, WhatGoesByItselfIsNoError) {
  scratch_.make("mkdir top; touch top/file");
  files_.beforeRemoval = [&](FileAt object) -> std::optional<PosixCode> {
    if (object.name == std::string("file")) unlink(scratch_.path("top/file").c_str());
    return std::nullopt;
  };
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")), success);
}

namespace additions = QRTFileDeletionAdditions;
using additions::Code;
using file_flag::userImmutable;

constexpr bool recursively = true;
constexpr bool singly = false;

Error fileDeletionError(Code code, const std::string& path) {
  return {
      "com.vantor.error.file-deletion", static_cast<std::int64_t>(code), {{"NSFilePath", path}}};
}

class DeletionTest : public FileManagerTest {
 protected:
  Outcome remove(const std::string& path, bool recursive) {
    return additions::enforceRemovalOfFileSystemObjectAtPath(context_, path, recursive);
  }
  std::uint32_t flagsOf(const std::string& path) {
    return files_.status(path.c_str(), Links::stay)->flags;
  }

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

  Outcome told = success;
  EXPECT_TRUE(additions::isSIPRestrictedObjectAtPath(context_, file, &told));
  EXPECT_EQ(told, fileDeletionError(Code::systemProtected, file));
  EXPECT_FALSE(additions::isSIPRestrictedObjectAtPath(context_, ""));
  EXPECT_FALSE(additions::isSIPRestrictedObjectAtPath(context_, scratch_.path("missing")));

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

const auto invalid = posixError(PosixCode::invalidArgument);

class DeletionOperationsTest : public FileManagerTest {
 protected:
  Outcome deleteObjects(const Array& arguments) {
    return DeletionOperations::performOperationDeleteFileobjectsWithArguments(context_, arguments,
                                                                              connection_.get());
  }
  Outcome deleteContents(const Array& arguments) {
    return DeletionOperations::performOperationDeleteFoldercontentsWithArguments(
        context_, arguments, connection_.get());
  }
  std::vector<double> takeProgress() {
    std::vector<double> fractions;
    for (const auto& message : feedback_.messages) {
      EXPECT_TRUE(isProgressOnly(message));
      fractions.push_back(message.at("ProgressFraction").number()->asDouble());
    }
    feedback_.messages.clear();
    return fractions;
  }

  const DeletionContext context_{files_, 0x1000};
  test::FakeFeedback feedback_;
  std::unique_ptr<FeedbackConnection> connection_ = feedback_.connect();
};

TEST_F(DeletionOperationsTest, ArgumentsAreChecked) {
  const auto file = scratch_.file("file");
  for (const auto& arguments :
       {Array{}, Array{"1", "0"}, Array{"2", "0", file}, Array{"1", "", file}, Array{"1", "0", 7},
        Array{"true", "0", file}}) {
    EXPECT_EQ(deleteObjects(arguments), invalid);
  }
  EXPECT_EQ(deleteContents({}), invalid);
  EXPECT_EQ(deleteContents({1}), invalid);
  EXPECT_THAT(takeProgress(), IsEmpty());
  EXPECT_TRUE(test::exists(file));
}

TEST_F(DeletionOperationsTest, EveryPathIsTriedAndTheLastErrorIsAnswered) {
  const auto missing = scratch_.path("missing");
  EXPECT_EQ(deleteObjects({"0", "0", missing, scratch_.file("a"), scratch_.file("b")}),
            posixError(PosixCode::noEntry));
  EXPECT_THAT(takeProgress(), ElementsAre(1.0 / 3, 2.0 / 3, 1.0, 1.0));
  EXPECT_FALSE(test::exists(scratch_.path("a")));

  scratch_.make("mkdir full; touch full/file");
  EXPECT_EQ(deleteObjects({"0", "0", missing, scratch_.path("full"), scratch_.file("a")}),
            posixError(PosixCode::notEmpty));
}

TEST_F(DeletionOperationsTest, TheFirstErrorCanStopIt) {
  const auto kept = scratch_.file("b");
  EXPECT_EQ(deleteObjects({"0", "1", scratch_.file("a"), scratch_.path("missing"), kept}),
            posixError(PosixCode::noEntry));
  EXPECT_THAT(takeProgress(), ElementsAre(1.0 / 3));
  EXPECT_TRUE(test::exists(kept));
}

TEST_F(DeletionOperationsTest, NobodyNeedsToListen) {
  connection_.reset();
  EXPECT_EQ(deleteObjects({"1", "1", scratch_.folder("a")}), success);
  EXPECT_EQ(deleteContents({scratch_.path()}), success);
}

TEST_F(DeletionOperationsTest, FoldersAreEmptiedAndStay) {
  for (const std::string name : {"a", "b"}) {
    scratch_.folder(name);
    scratch_.file(name + "/.hidden");
    scratch_.folder(name + "/inner");
    scratch_.file(name + "/inner/not \xFF utf8\nand a line");
  }
  const auto dangling = scratch_.link("a/dangling", "nowhere");
  scratch_.link("toB", "b");
  EXPECT_EQ(deleteContents({scratch_.path("a"), scratch_.path("missing"), scratch_.path("toB")}),
            success);
  EXPECT_THAT(takeProgress(), ElementsAre(0.0, 1.0 / 3, 2.0 / 3, 1.0));
  EXPECT_TRUE(test::exists(dangling));
  EXPECT_EQ(unlink(dangling.c_str()), 0);
  EXPECT_EQ(rmdir(scratch_.path("a").c_str()), 0);
  EXPECT_EQ(rmdir(scratch_.path("b").c_str()), 0);
}

TEST_F(DeletionOperationsTest, EmptyingStopsAtTheFirstError) {
  scratch_.make("mkdir a; touch a/file");
  EXPECT_EQ(deleteContents({scratch_.file("file"), scratch_.path("a")}),
            posixError(PosixCode::notDirectory));
  EXPECT_THAT(takeProgress(), ElementsAre(0.0));
  EXPECT_TRUE(test::exists(scratch_.path("a/file")));

  if (!scratch_.changeFlags("a/file", "+a")) GTEST_SKIP() << "needs the right to set flags";
  EXPECT_EQ(deleteContents({scratch_.path("a")}),
            fileWriteError(PosixCode::notPermitted, scratch_.path("a/file")));
  EXPECT_THAT(takeProgress(), ElementsAre(0.0));
}

TEST_F(DeletionOperationsTest, AFolderThatCannotBeListedIsAFileManagersError) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to become somebody else";
  const auto locked = scratch_.folder("locked");
  ASSERT_EQ(chmod(locked.c_str(), 0700), 0);
  ASSERT_EQ(seteuid(65534), 0);
  const auto error = deleteContents({locked});
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(error, fileReadError(PosixCode::permissionDenied, locked));
}

TEST_F(DeletionOperationsTest, ErrorsOfTheFileDeletionDomainAreTranslated) {
  const auto translated = DeletionOperations::privilegedOperationErrorForFileDeletionError;
  const auto error = [](std::int64_t code, Dictionary userInfo) {
    return Error{"com.vantor.error.file-deletion", code, std::move(userInfo)};
  };
  const Dictionary about{{"NSFilePath", "/x"},
                         {"NSUnderlyingError", posixError(PosixCode::notPermitted)}};
  for (const auto& [from, to] : {std::pair(1, 6), {2, 7}, {3, 8}, {4, 17}}) {
    auto result = translated(error(from, about));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->domain, privilegedOperationErrorDomain);
    EXPECT_EQ(result->code, to);
    EXPECT_EQ(result->userInfo.at("QRTLocalizedRecoverySuggestionParameters"), (Array{"/x"}));
    EXPECT_THAT(*result->userInfo.at("QRTLocalizedRecoverySuggestionTemplate").string(),
                testing::HasSubstr("'$1$'"));
    // Nothing of what it was about is lost.
    result->userInfo.merge(Dictionary(about));
    EXPECT_EQ(result->userInfo.size(), 5u);
  }
  const auto withoutPath = translated(error(3, {}))->userInfo;
  EXPECT_EQ(withoutPath.at("NSLocalizedDescription"),
            "Single User Mode is required to remove this object.");
  EXPECT_EQ(withoutPath.at("QRTLocalizedRecoverySuggestionParameters"), Array{""});
  EXPECT_EQ(translated(error(9, about)),
            (Error{std::string(privilegedOperationErrorDomain), 0, about}));
  EXPECT_EQ(translated(invalid), invalid);
  EXPECT_EQ(translated(success), success);
}

}  // namespace
}  // namespace qrt
