#include <fcntl.h>

#include <map>

#include "PortFileSystem.h"
#include "filesystem/FolderChain.h"
#include "filesystem/OperationFixture.h"
#include "filesystem/OrphanedFolder.h"
#include "filesystem/PatternSearch.h"
#include "filesystem/objects/FileObjectInfo.h"
#include "filesystem/walk/QRTDirectoryEnumerator.h"
#include "protocol/FeedbackMessage.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

constexpr std::uint32_t listedUser = 1234, unlistedUser = 5678, nobodys = 4321;

class Directory : public UserDirectory {
 public:
  UserIDs listedUserIDs() override { return {listedUser}; }
  bool isKnownUserID(std::uint32_t userID) override {
    ++questions[userID];
    return userID == unlistedUser;
  }
  std::map<std::uint32_t, int> questions;
};

/// A folder of that name cannot be opened, though its status can be read. Without a code, its
/// listing fails once the names that the system reads at a time are used up.
class Unreadable : public test::PortFileSystem {
 public:
  using test::PortFileSystem::openFolder;
  PosixResult<Folder> openFolder(FileAt object, Links links) override {
    if (name == object.name && code != PosixCode::success) return code;
    auto folder = test::PortFileSystem::openFolder(object, links);
    if (name == object.name && folder->next()) {
      const FileDescriptor unreadable(open(object.name, test::openForNames));
      EXPECT_GE(dup2(unreadable.get(), folder->descriptor()), 0);
    }
    return folder;
  }
  std::string name;
  PosixCode code = PosixCode::permissionDenied;
};

class SearchOperationsTest : public test::OperationFixture {
 protected:
  SearchOperationsTest() { use({.log = &log_, .files = &files_, .users = &users_}); }

  /// It does not matter whether a client listens.
  Outcome search(const std::string& stem, const Array& arguments) {
    const auto unheard = perform(stem, arguments, false);
    auto outcome = perform(stem, arguments);
    EXPECT_EQ(outcome, unheard) << stem;
    return outcome;
  }

  /// What a search that succeeds finds, below the scratch folder.
  std::vector<std::string> found(const std::string& stem, const Array& arguments) {
    EXPECT_EQ(search(stem, arguments), success);
    EXPECT_TRUE(feedback_.messages.back().contains("FileObjectInfo"));
    EXPECT_EQ(fractions().back(), 1.0);
    std::vector<std::string> names;
    for (const auto& record : records()) {
      const auto& path = *stringIn(*record.dictionary(), "Path");
      EXPECT_TRUE(path.starts_with(scratch_.path() + "/")) << path;
      names.push_back(path.substr(scratch_.path().size() + 1));
    }
    return names;
  }

  test::RecordingLog log_;
  Directory users_;
  Unreadable files_;
};

Array operator+(Array arguments, const Array& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST_F(SearchOperationsTest, RefusesBadFoldersAndPatternsBeforeAnyFeedback) {
  const std::pair<const char*, Array> searches[] = {
      {"SearchAgedfiles", {0, false}},       {"SearchFilenames", {"", "", false}},
      {"SearchPatterns", {"0", "0", "x"}},   {"SearchFileorphans", {false}},
      {"PropPermissions", {0, false, 0x3f}}, {"InspectStoragesize", {}}};
  const std::pair<std::string, PosixCode> folders[] = {
      {"", PosixCode::invalidArgument},
      {scratch_.link("loop", "loop"), PosixCode::noEntry},
      {scratch_.path() + std::string("\0x", 2), PosixCode::noEntry},
      {scratch_.file("file"), PosixCode::notDirectory}};
  for (const auto& [stem, rest] : searches) {
    for (const auto& [folder, code] : folders) {
      EXPECT_EQ(search(stem, Array{folder} + rest), posixError(code)) << stem << " " << folder;
      EXPECT_THAT(feedback_.messages, IsEmpty()) << stem << " " << folder;
    }
  }

  const std::vector<double> none, begun{0.0}, counting{0.0, 0.01};
  const std::pair<Array, std::vector<double>> rows[] = {{{"0"}, none},
                                                        {{"0", "0", "x", "1"}, none},
                                                        {{"2", "0", "x"}, none},
                                                        {{0, "0", "x"}, none},
                                                        {{"0", "0", "x", "3", "y"}, begun},
                                                        {{"0", "00", "x"}, begun},
                                                        {{"0", "0", "x", "1", ""}, begun},
                                                        {{"0", "0", "x"}, counting}};
  const Array empty{scratch_.folder("empty")};
  for (const auto& [patterns, sent] : rows) {
    const auto code = sent == counting ? PosixCode::noEntry : PosixCode::invalidArgument;
    EXPECT_EQ(search("SearchPatterns", empty + patterns), posixError(code)) << patterns.size();
    EXPECT_EQ(fractions(), sent) << patterns.size();
  }
  const auto withoutPatterns = AdvancedOpsAdditions::searchForFileNamesAtPath(
      used(), scratch_.path("empty"), false, {}, [](const FeedbackMessage&) {});
  EXPECT_EQ(withoutPatterns, invalid_);
}

TEST_F(SearchOperationsTest, AFailedListingCountsAsEmptyAndOneForWantOfMemoryIsAnError) {
  scratch_.file("file");
  files_.name = scratch_.path();
  EXPECT_THAT(found("SearchFilenames", {scratch_.path(), "", "", false}), IsEmpty());
  // A listing that fails half-way counts as empty too: no name of it is reported.
  scratch_.make("mkdir many; cd many; seq -f %0250g 40 | xargs touch");
  files_.name = scratch_.path("many");
  files_.code = PosixCode::success;
  EXPECT_THAT(found("SearchFilenames", {files_.name, "", "", false}), IsEmpty());
  files_.name = scratch_.path();
  files_.code = PosixCode::outOfMemory;
  EXPECT_EQ(search("SearchFilenames", {scratch_.path(), "", "", false}),
            posixError(PosixCode::outOfMemory));
  EXPECT_EQ(fractions(), std::vector<double>{1.0});
}

TEST_F(SearchOperationsTest, ReportsAnOrphanedFolderInPlaceOfItsContents) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make(
      "mkdir -p all/inner some/empty some/rest kept; ln -s listed kept/link;"
      "touch all/inner/file some/file some/rest/root some/rest/nobodys kept/nobodys;"
      "chown -R 4321 all some; chown 0 some/rest/root; chown -h 4321 kept/link kept/nobodys;"
      "touch kept/listed kept/unlisted; chown 1234 kept/listed; chown 5678 kept/unlisted");
  const Array arguments{scratch_.path(), false};
  std::vector<std::string> orphans{"all",       "some/empty",   "some/rest/nobodys",
                                   "some/file", "kept/nobodys", "kept/link"};
  EXPECT_THAT(found("SearchFileorphans", arguments), UnorderedElementsAreArray(orphans));
  // Heard and unheard, the search asks once about each of the two.
  EXPECT_EQ(users_.questions, (std::map<std::uint32_t, int>{{unlistedUser, 2}, {nobodys, 2}}));

  // What is in there might be somebody's.
  files_.name = "inner";
  EXPECT_THAT(found("SearchFileorphans", arguments), UnorderedElementsAreArray(orphans));
  files_.name = "all";
  orphans.erase(orphans.begin());
  EXPECT_THAT(found("SearchFileorphans", arguments), UnorderedElementsAreArray(orphans));
  files_.code = PosixCode::tooManyFiles;
  EXPECT_EQ(search("SearchFileorphans", arguments), posixError(PosixCode::tooManyFiles));
  EXPECT_EQ(fractions().back(), 1.0);
}

TEST_F(SearchOperationsTest, IsFolderAtPathComparesWithTheGivenUsers) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root";
  scratch_.make("mkdir empty mixed; touch mixed/file; chown 4321 mixed/file; ln -s mixed toMixed");
  const std::tuple<const char*, UserIDs, bool> rows[] = {
      {"empty", {}, false},          {"empty", {0}, true}, {"missing", {0}, false},
      {"mixed/file", {0}, false},    {"mixed", {0}, true}, {"toMixed", {0}, true},
      {"mixed", {0, nobodys}, false}};
  for (const auto& [name, ids, answer] : rows) {
    KnownUserIDs users(ids);
    EXPECT_EQ(isFolderAtPath(used(), scratch_.path(name), users), answer) << name;
  }
}

TEST_F(SearchOperationsTest, SearchesADeepTreeToTheLimitAndMeasuresAllOfIt) {
  test::makeChain(scratch_.path(), "d", 600, [](int folder) {
    const FileDescriptor file(openat(folder, "x", O_WRONLY | O_CREAT, 0644));
    ASSERT_EQ(ftruncate(file.get(), 1'000'000'000), 0);
  });
  // 500 folders of one byte are within the length of a path, and the counted total is the walk's.
  EXPECT_EQ(found("SearchPatterns", {scratch_.path(), "0", "0", "x"}).size(), 500u);
  for (const auto& message : feedback_.messages) {
    if (isProgressOnly(message)) continue;
    const bool isLast = &message == &feedback_.messages.back();
    EXPECT_EQ(message.at("FileObjectInfo").array()->size(), isLast ? 0u : 20u);
  }
  const auto sent = fractions();
  EXPECT_LT(sent[sent.size() - 2], 1.0);
  EXPECT_GT(sent[sent.size() - 2], 0.95);
  // Both walks of both searches, the heard and the unheard one, log what they leave out.
  EXPECT_EQ(log_.lines().size(), 4u);
  // Measuring has no such limits.
  const auto answer = perform("InspectStoragesize", {scratch_.path()});
  EXPECT_EQ(answer->userInfo.at("Size").number()->asUInt64() / 1'000'000'000, 600u);
}

}  // namespace
}  // namespace qrt
