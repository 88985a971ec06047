#include "filesystem/DeletionOperations.h"

#include <atomic>
#include <functional>

#include "PortFileSystem.h"
#include "filesystem/OperationFixture.h"
#include "filesystem/objects/AdvancedOpsAdditions.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "operations/NSProcessInfoQRTAdditions.h"
#include "support/PlantedFile.h"

namespace qrt {
namespace {

using test::PortFileSystem;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(FileManagerError, HasTheCodesOfTheCocoaDomain) {
  const std::tuple<PosixCode, int, int> rows[] = {{PosixCode::noEntry, 260, 4},
                                                  {PosixCode::notPermitted, 257, 513},
                                                  {PosixCode::permissionDenied, 257, 513},
                                                  {PosixCode::nameTooLong, 258, 514},
                                                  {PosixCode::quotaExceeded, 256, 640},
                                                  {PosixCode::readOnlyFileSystem, 256, 642},
                                                  {PosixCode::notEmpty, 256, 512}};
  for (const auto& [cause, reading, writing] : rows) {
    const Dictionary userInfo{{"NSFilePath", "/x"}, {"NSUnderlyingError", posixError(cause)}};
    EXPECT_EQ(fileReadError(cause, "/x"), (Error{"NSCocoaErrorDomain", reading, userInfo}));
    EXPECT_EQ(fileWriteError(cause, "/x"), (Error{"NSCocoaErrorDomain", writing, userInfo}));
  }
}

/// Files with flags and failures of a test's choice.
class FakedFiles : public PortFileSystem {
 public:
  using Answer = std::optional<PosixCode>;

  /// Called before a removal; an answer replaces it.
  std::function<Answer(FileAt)> beforeRemoval = [](FileAt) { return std::nullopt; };
  Answer setFlagsAnswer;
  bool mayRefuseChanges = false;
  Answer statusAnswer;

  /// One object shows flags beside its own.
  void plantFlags(const std::string& path, std::uint32_t flags) {
    planted_ = flags;
    inode_ = PortFileSystem::status(path.c_str(), Links::stay)->inode;
  }

  PosixResult<FileStatus> status(FileAt object, Links links) override {
    if (statusAnswer) return *statusAnswer;
    auto status = PortFileSystem::status(object, links);
    if (status) status->flags |= plantedOn(*status);
    return status;
  }
  PosixCode removeFolder(FileAt object) override {
    const auto answer = beforeRemoval(object);
    return answer ? *answer : PortFileSystem::removeFolder(object);
  }
  PosixCode removeFile(FileAt object) override {
    const auto answer = beforeRemoval(object);
    return answer ? *answer : PortFileSystem::removeFile(object);
  }
  PosixCode setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) override {
    if (setFlagsAnswer) return *setFlagsAnswer;
    const bool isRefusing = (plantedOn(seen) & file_flag::refusingChanges) != 0;
    if (isRefusing && mayRefuseChanges) return PosixCode::notPermitted;
    auto own = seen;
    own.flags &= ~plantedOn(seen);
    return PortFileSystem::setFlags(object, own, wanted & ~plantedOn(seen));
  }

 private:
  std::uint32_t plantedOn(const FileStatus& status) const {
    return status.inode == inode_ ? planted_ : 0;
  }

  std::uint32_t planted_ = 0;
  std::uint64_t inode_ = 0;
};

namespace additions = QRTFileDeletionAdditions;
using additions::Code;
using file_flag::userImmutable;

constexpr bool recursively = true;
constexpr bool singly = false;

const auto invalid = posixError(PosixCode::invalidArgument);

Error fileDeletionError(std::int64_t code, Dictionary userInfo) {
  return {"com.vantor.error.file-deletion", code, std::move(userInfo)};
}
Error fileDeletionError(Code code, const std::string& path) {
  return fileDeletionError(static_cast<std::int64_t>(code), {{"NSFilePath", path}});
}

class DeletionTest : public testing::Test {
 protected:
  Outcome remove(const std::string& path, bool recursive) {
    return additions::enforceRemovalOfFileSystemObjectAtPath(platform_, path, recursive);
  }
  void setSystemVersion(const std::string& version) {
    const test::ScratchFolder root;
    test::plant(root, "System/Library/CoreServices/SystemVersion.plist",
                "{ ProductVersion = \"" + version + "\"; }");
    NSProcessInfoQRTAdditions::updateVersionInfo(NativePlatform(root.path() + "/").facilities());
  }
  std::uint32_t flagsOf(const std::string& path) {
    return files_.status(path.c_str(), Links::stay)->flags;
  }

  test::ScratchFolder scratch_;
  FakedFiles files_;
  const NativePlatform native_;
  const Platform platform_ = test::platformWith({.files = &files_}, native_.facilities());
};

TEST_F(DeletionTest, AFolderThatFillsUpIsEmptiedALimitedNumberOfTimes) {
  const auto top = scratch_.path("top");
  const Outcome stillFull = fileWriteError(PosixCode::notEmpty, top);
  for (const int limit : {3, 1'000'000}) {
    scratch_.make("mkdir top; touch top/file");
    int added = 0;
    files_.beforeRemoval = [&](FileAt object) -> FakedFiles::Answer {
      const bool isTop = object.name == std::string("top");
      if (isTop && added < limit) scratch_.file("top/new" + std::to_string(added++));
      return std::nullopt;
    };
    EXPECT_EQ(FileManager::removeItemAtPath(files_, top), limit == 3 ? success : stillFull);
    EXPECT_GE(added, 3);
  }
}

TEST_F(DeletionTest, AVanishedEntryIsSkippedAMissingTopFails) {
  scratch_.make("mkdir top; touch top/file");
  files_.beforeRemoval = [&](FileAt object) -> FakedFiles::Answer {
    if (object.name == std::string("file")) unlink(scratch_.path("top/file").c_str());
    return std::nullopt;
  };
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("top")), success);
  EXPECT_EQ(FileManager::removeItemAtPath(files_, scratch_.path("x")),
            fileWriteError(PosixCode::noEntry, scratch_.path("x")));
}

#define NEEDS_FLAGS(change) \
  if (!(change)) GTEST_SKIP() << "needs the right to set flags on a file system that has them"

TEST_F(DeletionTest, ALackOfMemoryDoesNotPassForAMissingObject) {
  const auto file = scratch_.file("file");
  files_.statusAnswer = PosixCode::outOfMemory;
  EXPECT_EQ(remove(file, recursively), posixError(PosixCode::outOfMemory));
}

TEST_F(DeletionTest, SingleRemovalClearsBothUserFlags) {
  for (const char* flags : {"+i", "+a", "+ia"}) {
    scratch_.make("touch file; mkdir folder");
    for (const char* name : {"file", "folder"}) {
      NEEDS_FLAGS(scratch_.changeFlags(name, flags));
      EXPECT_EQ(remove(scratch_.path(name), singly), success) << flags;
    }
  }
}

TEST_F(DeletionTest, SingleRemovalReportsSystemFlagsWhiteoutsAndFlagsThatStay) {
  const auto file = scratch_.file("file");
  NEEDS_FLAGS(scratch_.changeFlags("file", "+i"));
  for (const auto flag : {file_flag::systemImmutable, file_flag::systemAppendOnly}) {
    files_.plantFlags(file, flag);
    EXPECT_EQ(remove(file, singly), fileDeletionError(Code::systemFlags, file));
    EXPECT_EQ(flagsOf(file), flag | userImmutable);  // Nothing was changed.
  }
  files_.plantFlags(file, 0);
  files_.setFlagsAnswer = PosixCode::notSupported;
  EXPECT_EQ(remove(file, singly), fileDeletionError(Code::flagsNotChangeable, file));

  const auto whiteout = scratch_.path("whiteout");
  if (mknod(whiteout.c_str(), test::whiteoutMode, 0) != 0) GTEST_SKIP() << "needs whiteouts";
  EXPECT_EQ(remove(whiteout, singly), fileDeletionError(Code::whiteout, whiteout));
}

TEST_F(DeletionTest, SystemIntegrityProtectionExplainsARefusal) {
  setSystemVersion("10.11");
  const auto file = scratch_.file("file");
  files_.plantFlags(file, file_flag::restricted);
  files_.beforeRemoval = [](FileAt) { return PosixCode::notPermitted; };
  const auto refused = fileDeletionError(Code::systemProtected, file);
  const auto because = [&](const Error& cause) {
    auto error = refused;
    error.userInfo.emplace("NSUnderlyingError", cause);
    return error;
  };
  EXPECT_EQ(remove(file, singly), because(posixError(PosixCode::notPermitted)));
  EXPECT_EQ(remove(file, recursively), because(fileWriteError(PosixCode::notPermitted, file)));
  files_.setFlagsAnswer = PosixCode::inputOutput;
  EXPECT_EQ(remove(file, recursively), because(posixError(PosixCode::inputOutput)));

  Outcome reason = success;
  EXPECT_TRUE(additions::isSIPRestrictedObjectAtPath(platform_, file, &reason));
  EXPECT_EQ(reason, refused);
  EXPECT_FALSE(additions::isSIPRestrictedObjectAtPath(platform_, ""));
  EXPECT_FALSE(additions::isSIPRestrictedObjectAtPath(platform_, scratch_.path("missing")));

  // Of another refusal, before there was such a protection, and without the flags it says nothing.
  files_.beforeRemoval = [](FileAt) { return PosixCode::busy; };
  EXPECT_EQ(remove(file, singly), posixError(PosixCode::busy));
  files_.beforeRemoval = [](FileAt) { return PosixCode::notPermitted; };
  setSystemVersion("10.10.15");
  EXPECT_EQ(remove(file, singly), posixError(PosixCode::notPermitted));
  setSystemVersion("10.11");
  files_.plantFlags(file, 0);
  EXPECT_EQ(remove(file, singly), posixError(PosixCode::notPermitted));
}

TEST_F(DeletionTest, RecursiveRemovalClearsAllFlagsFirstAndEndsAtTheFirstError) {
  scratch_.make("mkdir top; cd top; for i in $(seq 40); do mkdir $i; touch $i/1 $i/2 $i/3; done");
  NEEDS_FLAGS(scratch_.changeFlags("top/7/3", "+i"));
  std::atomic<int> attempts = 0;
  files_.beforeRemoval = [&](FileAt) -> FakedFiles::Answer {
    EXPECT_EQ(flagsOf(scratch_.path("top/7/3")), 0u);
    ++attempts;
    return PosixCode::busy;
  };
  EXPECT_EQ(remove(scratch_.path("top"), recursively)->domain, "NSCocoaErrorDomain");
  constexpr int workers = 2;
  EXPECT_GE(attempts, 1);
  EXPECT_LE(attempts, workers);
}

TEST_F(DeletionTest, RecursiveRemovalChangesNothingIfAFlagStays) {
  scratch_.make("mkdir top; touch top/file");
  const auto top = scratch_.path("top");
  files_.setFlagsAnswer = PosixCode::inputOutput;
  EXPECT_EQ(remove(top, recursively), posixError(PosixCode::inputOutput));
  EXPECT_TRUE(test::exists(top + "/file"));
  files_.setFlagsAnswer = PosixCode::notSupported;
  EXPECT_EQ(remove(top, recursively), success);
}

TEST_F(DeletionTest, FindsObjectsThatRefuseChangesBeforeItRemovesAny) {
  files_.mayRefuseChanges = true;
  for (const auto flag : {file_flag::restricted, file_flag::noUnlink, file_flag::systemImmutable,
                          file_flag::systemAppendOnly}) {
    scratch_.make("mkdir -p top/inner; touch top/file top/inner/kept");
    files_.plantFlags(scratch_.path("top/inner/kept"), flag);
    const auto outcome = remove(scratch_.path("top"), recursively);
    EXPECT_EQ(outcome, posixError(PosixCode::notPermitted)) << flag;
    EXPECT_TRUE(test::exists(scratch_.path("top/file"))) << flag;
    EXPECT_EQ(AdvancedOpsAdditions::setUserImmutableAtPath(files_, scratch_.path("top"), false,
                                                           recursively, false),
              posixError(PosixCode::notPermitted));
  }
}

TEST_F(DeletionTest, ADanglingLinkIsAnErrorOnlyIfItsTargetIsChecked) {
  const auto dangling = scratch_.link("dangling", "nowhere");
  const auto set = [this](const std::string& path, bool checking) {
    return additions::setImmutableFlag(files_, true, path, checking);
  };
  EXPECT_EQ(set(dangling, true), posixError(PosixCode::noEntry));
  EXPECT_EQ(set(dangling, false), success);
  EXPECT_EQ(set("", false), invalid);
  EXPECT_EQ(set(scratch_.path("missing"), false), posixError(PosixCode::noEntry));
}

class DeletionOperationsTest : public test::OperationFixture {
 protected:
  Outcome deleteObjects(const Array& arguments) { return perform("DeleteFileobjects", arguments); }
  Outcome deleteContents(const Array& arguments) {
    return perform("DeleteFoldercontents", arguments);
  }
};

TEST_F(DeletionOperationsTest, ArgumentsAreChecked) {
  const auto file = scratch_.file("file");
  for (const auto& arguments : {Array{}, Array{"1", "0"}, Array{"2", "0", file},
                                Array{"1", "", file}, Array{"1", "0", 7}}) {
    EXPECT_EQ(deleteObjects(arguments), invalid);
    EXPECT_THAT(feedback_.messages, IsEmpty());
  }
  for (const auto& arguments : {Array{}, Array{1}}) {
    EXPECT_EQ(deleteContents(arguments), invalid);
    EXPECT_THAT(feedback_.messages, IsEmpty());
  }
  EXPECT_TRUE(test::exists(file));
}

TEST_F(DeletionOperationsTest, TriesEveryPathOrStopsAtTheFirstError) {
  scratch_.make("mkdir full; touch full/file a b c");
  const auto full = scratch_.path("full"), missing = scratch_.path("missing"),
             a = scratch_.path("a"), b = scratch_.path("b"), c = scratch_.path("c");
  EXPECT_EQ(deleteObjects({"0", "0", full, missing, a}), posixError(PosixCode::noEntry));
  EXPECT_THAT(fractions(), ElementsAre(1.0 / 3, 2.0 / 3, 1.0, 1.0));
  EXPECT_FALSE(test::exists(a));
  EXPECT_EQ(deleteObjects({"0", "0", missing, full}), posixError(PosixCode::notEmpty));
  EXPECT_EQ(deleteObjects({"0", "1", b, missing, c}), posixError(PosixCode::noEntry));
  EXPECT_THAT(fractions(), ElementsAre(1.0 / 3));
  EXPECT_TRUE(test::exists(c));
}

TEST_F(DeletionOperationsTest, FoldersAreEmptiedAndStay) {
  scratch_.make(
      "mkdir -p a/inner b; touch a/.hidden b/file; ln -s nowhere a/dangling; ln -s b toB");
  scratch_.file(std::string("a/inner/odd ") + test::oddByte + "\nand a line");
  EXPECT_EQ(deleteContents({scratch_.path("a"), scratch_.path("missing"), scratch_.path("toB")}),
            success);
  EXPECT_THAT(fractions(), ElementsAre(0.0, 1.0 / 3, 2.0 / 3, 1.0));
  scratch_.make("rm a/dangling; rmdir a b");
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

TEST_F(DeletionOperationsTest, TranslatesErrorsOfTheFileDeletionDomain) {
  const auto translated = DeletionOperations::privilegedOperationErrorForFileDeletionError;
  const Dictionary about{{"NSFilePath", "/x"},
                         {"NSUnderlyingError", posixError(PosixCode::notPermitted)}};
  for (const auto& [from, to] : {std::pair(1, 6), {2, 7}, {3, 8}, {4, 17}}) {
    auto result = translated(fileDeletionError(from, about));
    expectError(result, to, "/x");
    EXPECT_THAT(*result->userInfo.at("QRTLocalizedRecoverySuggestionTemplate").string(),
                testing::HasSubstr("'$1$'"));
    // Nothing of what it was about is lost.
    result->userInfo.merge(Dictionary(about));
    EXPECT_EQ(result->userInfo.size(), 5u);
  }
  const auto withoutPath = translated(fileDeletionError(3, {}))->userInfo;
  EXPECT_EQ(withoutPath.at("NSLocalizedDescription"),
            "Single User Mode is required to remove this object.");
  EXPECT_EQ(withoutPath.at("QRTLocalizedRecoverySuggestionParameters"), Array{""});
  EXPECT_EQ(translated(fileDeletionError(9, about)),
            (Error{std::string(privilegedOperationErrorDomain), 0, about}));
  EXPECT_EQ(translated(invalid), invalid);
  EXPECT_EQ(translated(success), success);
}

}  // namespace
}  // namespace qrt
