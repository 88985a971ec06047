#include "filesystem/SearchOperations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "filesystem/FileObjectInfo.h"
#include "filesystem/FileSystemOperations.h"
#include "filesystem/OrphanedFolder.h"
#include "filesystem/QRTDirectoryEnumerator.h"
#include "operations/PrivilegedOperationError.h"
#include "platform/NativePlatform.h"
#include "protocol/FeedbackMessage.h"
#include "support/FakeFeedback.h"
#include "support/ForwardingFileSystem.h"
#include "support/Mounts.h"
#include "support/PlatformDouble.h"
#include "support/RecordingLog.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::Mount;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
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

/// A folder of that name cannot be opened, though its status can be read.
class Unreadable : public test::ForwardingFileSystem {
 public:
  PosixResult<Folder> openFolder(FileAt object, Links links) override {
    if (name == object.name) return code;
    return ForwardingFileSystem::openFolder(object, links);
  }
  std::string name;
  PosixCode code = PosixCode::permissionDenied;
};

class SearchOperationsTest : public testing::Test {
 protected:
  SearchOperationsTest() { registerFileSystemHandlers(handlers_, platform_); }

  /// Performs an operation the way a request does.
  Outcome perform(const std::string& stem, const Array& arguments) {
    const bool hasFeedback = stem.starts_with("Search");
    feedback_.messages.clear();
    const auto connection = feedback_.connect();
    const auto* handler = handlers_.find(
        "performOperation" + stem + "WithArguments:" + (hasFeedback ? "feedbackConnection:" : ""));
    EXPECT_NE(handler, nullptr) << stem;
    if (handler == nullptr) return success;
    // Nobody has to listen.
    const auto unheard = (*handler)(arguments, nullptr);
    auto outcome = (*handler)(arguments, connection.get());
    EXPECT_EQ(outcome, unheard) << stem;
    return outcome;
  }

  std::vector<double> fractions() const {
    std::vector<double> all;
    for (const auto& message : feedback_.messages) {
      all.push_back(message.at("ProgressFraction").number()->asDouble());
    }
    return all;
  }

  Array records() const {
    Array all;
    for (const auto& message : feedback_.messages) {
      const auto batch = message.find("FileObjectInfo");
      if (batch == message.end()) continue;
      all.insert(all.end(), batch->second.array()->begin(), batch->second.array()->end());
    }
    return all;
  }

  /// What a search that succeeds finds, below the scratch folder.
  std::vector<std::string> found(const std::string& stem, const Array& arguments) {
    EXPECT_EQ(perform(stem, arguments), success);
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

  std::uint64_t storageSize(const std::string& path) {
    const auto answer = perform("InspectStoragesize", {path});
    EXPECT_TRUE(answer && answer->code == 0 && answer->domain == privilegedOperationErrorDomain);
    return answer ? answer->userInfo.at("Size").number()->asUInt64() : 0;
  }

  void setAge(const std::string& path, double days) const {
    const timespec changed{std::time(nullptr) - static_cast<std::time_t>(days * 86400), 0};
    const timespec times[] = {changed, changed};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }
  void give(const std::string& name, std::uint32_t user) const {
    ASSERT_EQ(lchown(scratch_.path(name).c_str(), user, 0), 0) << name;
  }

  test::ScratchFolder scratch_;
  test::FakeFeedback feedback_;
  Directory users_;
  Unreadable files_;
  const NativePlatform native_;
  const Platform platform_ =
      test::platformWith({.files = &files_, .users = &users_}, native_.facilities());
  HandlerTable handlers_;
};

TEST_F(SearchOperationsTest, WhatCannotBeginIsRefusedBeforeAnyFeedback) {
  const std::pair<const char*, Array> searches[] = {{"SearchAgedfiles", {0, false}},
                                                    {"SearchFilenames", {"", "", false}},
                                                    {"SearchPatterns", {"0", "0", "x"}},
                                                    {"SearchFileorphans", {false}},
                                                    {"InspectStoragesize", {}}};
  const std::pair<std::string, PosixCode> folders[] = {
      {"", PosixCode::invalidArgument},
      {scratch_.path("missing"), PosixCode::noEntry},
      {scratch_.link("dangling", "missing"), PosixCode::noEntry},
      {scratch_.link("loop", "loop"), PosixCode::noEntry},
      {scratch_.path() + std::string("\0x", 2), PosixCode::noEntry},
      {scratch_.file("file"), PosixCode::notDirectory},
      {scratch_.link("toFile", "file"), PosixCode::notDirectory}};
  for (const auto& [stem, rest] : searches) {
    for (const auto& [folder, code] : folders) {
      Array arguments{folder};
      arguments.insert(arguments.end(), rest.begin(), rest.end());
      EXPECT_EQ(perform(stem, arguments), posixError(code)) << stem << " " << folder;
      EXPECT_THAT(feedback_.messages, IsEmpty()) << stem << " " << folder;
    }
  }

  const auto folder = scratch_.folder("empty");
  const std::vector<double> none, begun{0.0}, counting{0.0, 0.01};
  const struct {
    Array arguments;
    std::vector<double> told;
    PosixCode code = PosixCode::invalidArgument;
  } patterns[] = {{{folder, "0"}, none},
                  {{folder, "0", "0"}, none},
                  {{folder, "0", "0", "x", "1"}, none},
                  {{folder, "2", "0", "x"}, none},
                  {{folder, 0, "0", "x"}, none},
                  {{folder, "0", "0", "x", "3", "y"}, begun},
                  {{folder, "0", "", "x"}, begun},
                  {{folder, "0", "00", "x"}, begun},
                  {{folder, "0", "0", "x", "1", ""}, begun},
                  {{folder, "0", "0", "x"}, counting, PosixCode::noEntry}};
  for (const auto& [arguments, told, code] : patterns) {
    EXPECT_EQ(perform("SearchPatterns", arguments), posixError(code)) << arguments.size();
    EXPECT_EQ(fractions(), told) << arguments.size();
  }
}

TEST_F(SearchOperationsTest, EachFindsWhatItLooksFor) {
  const std::string unlucky = "\xFF\n.log";
  scratch_.folder("d.log");
  for (const std::string name :
       {"log.txt", "log", ".log", "a.LOG", "d.log/core.log", "d.log/core"}) {
    setAge(scratch_.file(name, "abc"), 1);
  }
  setAge(scratch_.file(unlucky), 10.5);
  setAge(scratch_.file("tomorrow"), -1);
  setAge(scratch_.link("dangling.log", "nowhere"), 11);
  setAge(scratch_.link("loop", "loop"), 9.9);
  setAge(scratch_.link("toFolder.log", "d.log"), 0);
  setAge(scratch_.path("d.log"), 10);
  const struct {
    const char* stem;
    Array rest;
    std::vector<std::string> names;
  } rows[] = {
      // The age of the object itself, also of a link; what is still to come has none.
      {"SearchAgedfiles", {10, false}, {"d.log", unlucky, "dangling.log"}},
      {"SearchAgedfiles",
       {0, false},
       {"d.log", unlucky, "dangling.log", "log.txt", "log", ".log", "a.LOG", "d.log/core.log",
        "d.log/core", "loop", "toFolder.log"}},
      {"SearchAgedfiles", {-1, false}, {}},
      // Names of this folder that lead somewhere.
      {"SearchFilenames",
       {"", "", false},
       {"log.txt", "log", ".log", "a.LOG", unlucky, "tomorrow"}},
      {"SearchFilenames", {"", "log", false}, {unlucky}},
      {"SearchFilenames", {"log", "", false}, {"log.txt", "log"}},
      {"SearchFilenames", {"", "log", true}, {"d.log", "toFolder.log"}},
      {"SearchFilenames", {"to", "log", true}, {"toFolder.log"}},
      // An object is reported once, whichever patterns it matches.
      {"SearchPatterns",
       {"0", "2", "log", "1", "core"},
       {unlucky, "d.log", "dangling.log", "toFolder.log", "d.log/core.log", "d.log/core"}},
      {"SearchPatterns", {"1", "0", "core", "0", "Log"}, {"d.log/core"}},
  };
  for (const auto& [stem, rest, names] : rows) {
    Array arguments{scratch_.path()};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    EXPECT_THAT(found(stem, arguments), UnorderedElementsAreArray(names)) << stem;
  }

  // A record is that of the link; its path begins with that of the folder, resolved.
  scratch_.link("here", ".");
  EXPECT_EQ(perform("SearchAgedfiles", {scratch_.path("here"), 11, false}), success);
  const auto path = scratch_.path("dangling.log");
  EXPECT_EQ(records(), Array{fileObjectInfo(path, *files_.status(path.c_str(), Links::stay))});
  files_.name = scratch_.path();
  EXPECT_THAT(found("SearchFilenames", {scratch_.path(), "", "", false}), IsEmpty());
}

TEST_F(SearchOperationsTest, FindingsComeTwentyAtATime) {
  std::vector<std::string> names;
  for (int i = 0; i < 45; ++i) scratch_.file(names.emplace_back(std::to_string(i)));
  const auto batches = [&] {
    std::vector<std::size_t> sizes;
    for (const auto& message : feedback_.messages) {
      if (!isProgressOnly(message)) sizes.push_back(message.at("FileObjectInfo").array()->size());
    }
    return sizes;
  };
  const std::pair<const char*, Array> others[] = {
      {"SearchAgedfiles", {scratch_.path(), 0, false}},
      {"SearchFilenames", {scratch_.path(), "", "", false}}};
  for (const auto& [stem, arguments] : others) {
    EXPECT_THAT(found(stem, arguments), UnorderedElementsAreArray(names));
    EXPECT_THAT(batches(), ElementsAre(20, 20, 5));
    EXPECT_THAT(fractions(), ElementsAre(0.0, 0.0, 1.0));
  }
  Array patterns{scratch_.path(), "0"};
  for (const auto& name : names) patterns.insert(patterns.end(), {"0", name});
  EXPECT_THAT(found("SearchPatterns", patterns), UnorderedElementsAreArray(names));
  EXPECT_THAT(batches(), ElementsAre(20, 20, 5));
  EXPECT_THAT(fractions(), ElementsAre(0.0, 0.01, 19.0 / 45, 39.0 / 45, 1.0));
}

/// More than is read ahead at a time, by objects and by folders.
TEST_F(SearchOperationsTest, ManyObjectsComeInWalkingOrder) {
  for (int i = 0; i < 5000; ++i) {
    const auto folder = std::to_string(i % 700);
    if (i < 700) scratch_.folder(folder);
    scratch_.file(folder + "/" + std::to_string(i));
  }
  test::RecordingLog log;
  const auto walk = QRTDirectoryEnumerator::enumeratorAtPath(files_, log, scratch_.path());
  EXPECT_EQ(found("SearchAgedfiles", {scratch_.path(), 0, false}), walk->allObjects());
}

TEST_F(SearchOperationsTest, AnOrphanedFolderStandsForItsContents) {
  for (const char* name : {"all", "all/inner", "some", "some/empty", "some/rest", "kept"}) {
    scratch_.folder(name);
  }
  for (const char* name : {"all/inner/file", "some/file", "some/rest/root", "some/rest/nobodys",
                           "kept/listed", "kept/unlisted", "kept/nobodys"}) {
    scratch_.file(name);
  }
  scratch_.link("kept/link", "listed");
  for (const char* name : {"all", "all/inner", "all/inner/file", "some", "some/empty", "some/rest",
                           "some/file", "some/rest/nobodys", "kept/link", "kept/nobodys"}) {
    give(name, nobodys);
  }
  give("kept/listed", listedUser);
  give("kept/unlisted", unlistedUser);

  const Array arguments{scratch_.path(), false};
  const std::vector<std::string> orphans{"all",       "some/empty",   "some/rest/nobodys",
                                         "some/file", "kept/nobodys", "kept/link"};
  EXPECT_THAT(found("SearchFileorphans", arguments), UnorderedElementsAreArray(orphans));
  // Heard and unheard, the search asks once about each of the two.
  EXPECT_EQ(users_.questions, (std::map<std::uint32_t, int>{{unlistedUser, 2}, {nobodys, 2}}));

  // What is in there might be somebody's.
  files_.name = "inner";
  auto more = orphans;
  more[0] = "all";
  EXPECT_THAT(found("SearchFileorphans", arguments), UnorderedElementsAreArray(more));
  files_.name = "all";
  more.erase(more.begin());
  EXPECT_THAT(found("SearchFileorphans", arguments), UnorderedElementsAreArray(more));
  files_.code = PosixCode::tooManyFiles;
  EXPECT_EQ(perform("SearchFileorphans", arguments), posixError(PosixCode::tooManyFiles));
  EXPECT_EQ(fractions().back(), 1.0);
}

TEST_F(SearchOperationsTest, TheFolderTestItself) {
  test::RecordingLog log;
  scratch_.folder("empty");
  scratch_.folder("mixed");
  scratch_.file("mixed/file");
  give("mixed/file", nobodys);
  const struct {
    std::string path;
    UserIDs users;
    bool answer;
  } cases[] = {{"", {0}, false},
               {scratch_.path("empty"), {}, false},
               {scratch_.path("empty"), {0}, true},
               {scratch_.path("missing"), {0}, false},
               {scratch_.path("mixed/file"), {0}, false},
               {scratch_.path("mixed"), {0}, true},
               {scratch_.link("toMixed", "mixed"), {0}, true},
               {scratch_.path("mixed"), {0, nobodys}, false}};
  for (const auto& [path, ids, answer] : cases) {
    KnownUserIDs users(ids);
    EXPECT_EQ(isFolderAtPath(files_, log, path, users), answer) << path;
  }
}

/// The same hierarchy with a volume below it on every kind of file system there is.
TEST_F(SearchOperationsTest, EveryFileSystemAndTheVolumeBelow) {
  int tried = 0;
  for (const auto kind : {Mount::Kind::memory, Mount::Kind::ext4, Mount::Kind::ext4WithoutTypes,
                          Mount::Kind::xfs, Mount::Kind::btrfs}) {
    const auto base = "base" + std::to_string(static_cast<int>(kind));
    const Mount outer(kind, scratch_.folder(base));
    if (!outer.isMounted()) continue;
    ++tried;
    scratch_.folder(base + "/data");
    scratch_.file(base + "/data/a.log");
    const Mount inner(Mount::Kind::memory, scratch_.folder(base + "/data/volume"));
    scratch_.link(base + "/data/link", "volume");
    scratch_.file(base + "/data/volume/b.log", "1234567");
    ASSERT_EQ(truncate(scratch_.path(base + "/data/a.log").c_str(), 10'000'000'000), 0);
    ASSERT_EQ(link(scratch_.path(base + "/data/a.log").c_str(),
                   scratch_.path(base + "/data/hard").c_str()),
              0);
    for (const char* name : {"/data/volume", "/data/hard"}) give(base + name, nobodys);
    const auto top = scratch_.path(base + "/data");
    const auto in = [&](const char* name) { return base + "/data/" + name; };

    EXPECT_THAT(found("SearchPatterns", {top, "0", "2", "log"}),
                UnorderedElementsAre(in("a.log"), in("volume/b.log")));
    EXPECT_THAT(found("SearchPatterns", {top, "1", "2", "log"}), ElementsAre(in("a.log")));
    EXPECT_EQ(found("SearchAgedfiles", {top, 0, true}).size(), 4u);
    EXPECT_EQ(found("SearchAgedfiles", {top, 0, false}).size(), 5u);
    // The volume holds an object of root's.
    EXPECT_THAT(found("SearchFileorphans", {top, false}),
                UnorderedElementsAre(in("a.log"), in("hard")));
    // Now it stands for all it holds, and its neighbours are not lost.
    give(in("volume/b.log"), nobodys);
    for (const bool stay : {true, false}) {
      EXPECT_THAT(found("SearchFileorphans", {top, stay}),
                  UnorderedElementsAre(in("a.log"), in("hard"), in("volume")));
    }

    struct stat volume {};
    ASSERT_EQ(stat((top + "/volume").c_str(), &volume), 0);
    EXPECT_EQ(storageSize(top), 20'000'000'000u + sizeof "volume" - 1 + 7 +
                                    static_cast<std::uint64_t>(volume.st_size));
    EXPECT_EQ(storageSize(scratch_.folder(base + "/data/empty")), 0u);
  }
  if (tried == 0) GTEST_SKIP() << "needs the right to mount";
}

TEST_F(SearchOperationsTest, DeepHierarchies) {
  scratch_.folder("deep");
  FileDescriptor folder(open(scratch_.path("deep").c_str(), O_RDONLY | O_DIRECTORY));
  for (int level = 1; level <= 600; ++level) {
    ASSERT_EQ(mkdirat(folder.get(), "d", 0755), 0);
    const FileDescriptor file(openat(folder.get(), "x", O_WRONLY | O_CREAT, 0644));
    ASSERT_EQ(ftruncate(file.get(), 1'000'000'000), 0);
    folder = FileDescriptor(openat(folder.get(), "d", O_RDONLY | O_DIRECTORY));
  }
  // 500 folders of one byte are within the length of a path, and the counted total is the walk's.
  EXPECT_EQ(found("SearchPatterns", {scratch_.path("deep"), "0", "0", "x"}).size(), 500u);
  const auto told = fractions();
  EXPECT_LT(told[told.size() - 2], 1.0);
  EXPECT_GT(told[told.size() - 2], 0.95);
  // Measuring has no such limits.
  EXPECT_EQ(storageSize(scratch_.path("deep")) / 1'000'000'000, 600u);
}

}  // namespace
}  // namespace qrt
