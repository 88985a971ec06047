#include "filesystem/DeletionOperations.h"

#include <functional>

#include "PortFileSystem.h"
#include "filesystem/OperationFixture.h"
#include "filesystem/objects/AdvancedOpsAdditions.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/FileManagerError.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"

namespace qrt {
namespace {

using test::PortFileSystem;
using testing::ElementsAre;

/// Files with flags and failures of a test's choice.
class FakedFiles : public PortFileSystem {
 public:
  std::function<void(FileAt)> beforeRemoval = [](FileAt) {};
  std::optional<PosixCode> setFlagsAnswer;
  bool mayRefuseChanges = false;

  /// One object shows flags beside its own.
  void plantFlags(const std::string& path, std::uint32_t flags) {
    planted_ = flags;
    inode_ = PortFileSystem::status(path.c_str(), Links::stay)->inode;
  }

  PosixResult<FileStatus> status(FileAt object, Links links) override {
    auto status = PortFileSystem::status(object, links);
    if (status) status->flags |= plantedOn(*status);
    return status;
  }
  PosixCode removeFolder(FileAt object) override {
    beforeRemoval(object);
    return PortFileSystem::removeFolder(object);
  }
  PosixCode removeFile(FileAt object) override {
    beforeRemoval(object);
    return PortFileSystem::removeFile(object);
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

constexpr bool recursively = true, singly = false;

Error fileDeletionError(Code code, const std::string& path) {
  return {
      "com.vantor.error.file-deletion", static_cast<std::int64_t>(code), {{"NSFilePath", path}}};
}

class DeletionTest : public testing::Test {
 protected:
  Outcome remove(const std::string& path, bool recursive) {
    return additions::enforceRemovalOfFileSystemObjectAtPath(platform_, path, recursive);
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
  for (const int limit : {3, 1'000'000}) {
    scratch_.make("mkdir top; touch top/file");
    int added = 0;
    files_.beforeRemoval = [&](FileAt object) {
      // An entry that another process removes is no error.
      if (object.name == std::string("file")) unlink((top + "/file").c_str());
      if (object.name != std::string("top") || added >= limit) return;
      scratch_.file("top/new" + std::to_string(added++));
    };
    EXPECT_EQ(FileManager::removeItemAtPath(platform_, top),
              limit == 3 ? success : Outcome(fileWriteError(PosixCode::notEmpty, top)));
    EXPECT_GE(added, 3);
  }
}

TEST_F(DeletionTest, SingleRemovalReportsSystemFlagsWhiteoutsAndFlagsThatStay) {
  const auto file = scratch_.file("file");
  if (!scratch_.changeFlags("file", "+i")) GTEST_SKIP() << "needs the right to set flags";
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
    EXPECT_EQ(AdvancedOpsAdditions::setUserImmutableAtPath(platform_, scratch_.path("top"), false,
                                                           recursively, false),
              posixError(PosixCode::notPermitted));
  }
}

using DeletionOperationsTest = test::OperationFixture;

TEST_F(DeletionOperationsTest, TriesEveryPathOrStopsAtTheFirstError) {
  scratch_.make("mkdir full; touch full/file a b c");
  const auto full = scratch_.path("full"), missing = scratch_.path("missing"),
             a = scratch_.path("a"), b = scratch_.path("b"), c = scratch_.path("c");
  EXPECT_EQ(perform("DeleteFileobjects", {"0", "0", full, missing, a}),
            posixError(PosixCode::noEntry));
  EXPECT_THAT(fractions(), ElementsAre(1.0 / 3, 2.0 / 3, 1.0, 1.0));
  EXPECT_FALSE(test::exists(a));
  EXPECT_EQ(perform("DeleteFileobjects", {"0", "0", missing, full}),
            posixError(PosixCode::notEmpty));
  EXPECT_EQ(perform("DeleteFileobjects", {"0", "1", b, missing, c}),
            posixError(PosixCode::noEntry));
  EXPECT_THAT(fractions(), ElementsAre(1.0 / 3));
  EXPECT_TRUE(test::exists(c));

  EXPECT_EQ(perform("DeleteFoldercontents", {full, missing}), success);
  EXPECT_THAT(fractions(), ElementsAre(0.0, 0.5, 1.0));
  EXPECT_EQ(rmdir(full.c_str()), 0);
}

TEST_F(DeletionOperationsTest, TranslatesErrorsOfTheFileDeletionDomain) {
  for (const auto& [from, to] : {std::pair(1, 6), {2, 7}, {3, 8}, {4, 17}}) {
    expectError(DeletionOperations::privilegedOperationErrorForFileDeletionError(
                    fileDeletionError(Code(from), "/x")),
                to, "/x");
  }
}

}  // namespace
}  // namespace qrt
