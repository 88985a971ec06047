#include "filesystem/DeletionOperations.h"

#include <gmock/gmock.h>

#include "filesystem/FileManagerError.h"
#include "operations/PrivilegedOperationError.h"
#include "protocol/FeedbackMessage.h"
#include "support/FakeFeedback.h"
#include "support/FileSystemDouble.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using QRTFileDeletionAdditions::Code;
using testing::ElementsAre;
using testing::IsEmpty;

const auto invalid = posixError(PosixCode::invalidArgument);

class DeletionOperationsTest : public testing::Test {
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

  test::ScratchFolder scratch_;
  test::FileSystemDouble files_;
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
