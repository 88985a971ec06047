#include <gmock/gmock.h>
#include <sys/xattr.h>

#include <functional>
#include <utility>

#include "filesystem/OperationFixture.h"
#include "support/PlantedFile.h"
#include "support/SteppedChild.h"

namespace qrt {
namespace {

using testing::IsEmpty;
using testing::Not;

/// The owner of a folder exchanges an object in it, while an operation works on it, for another
/// that he could not change himself.
class ExchangedItemTest : public test::OperationFixture {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
  }
  ~ExchangedItemTest() override { scratch_.make("unflag ."); }

  struct Attack {
    /// Names of what is exchanged.
    std::vector<std::pair<std::string, std::string>> exchanges;
    std::function<void()> make;
    /// Whether the other object, whatever its name is by now, is as it was.
    std::function<bool()> isSafe;
  };

  /// The stops at which the attacker wins, of the first exchange with which it does.
  template <class Action>
  std::vector<int> lostStops(const Attack& attack, const Action& action) {
    int strikes = 0;
    for (const auto& [first, second] : attack.exchanges) {
      const auto strike = test::exchanging(scratch_.path(first), scratch_.path(second));
      const auto attacks =
          test::attackAtEveryCall(attack.make, action, strike, attack.isSafe, true);
      if (!attacks.lostStops.empty()) return attacks.lostStops;
      strikes += attacks.strikes;
    }
    EXPECT_GT(strikes, 3);
    return {};
  }

  /// The attack succeeds against `careless`, and never against the others.
  template <class Careless, class... Careful>
  void expectSafety(const Attack& attack, Careless careless, Careful... careful) {
    EXPECT_THAT(lostStops(attack, careless), Not(IsEmpty()));
    const auto expectNoLoss = [&](const auto& action) {
      EXPECT_THAT(lostStops(attack, action), IsEmpty());
    };
    (expectNoLoss(careful), ...);
  }

  auto script(const std::string& text) const {
    return [this, text] { scratch_.make("unflag .; rm -rf *; " + text); };
  }
  /// An attacker can make it fail, nothing more.
  auto performing(const std::string& stem, const Array& arguments) {
    return test::anyhow([this, stem, arguments] { return perform(stem, arguments); });
  }

  static bool give(const std::string& path) { return chown(path.c_str(), 1234, 1234) == 0; }
  bool hasFlag(const std::string& name, std::uint32_t flag) const {
    const auto status = platform_.files.status(scratch_.path(name).c_str(), Links::stay);
    return status && (status->flags & flag) != 0;
  }
  bool canMake(const std::string& script) const { return scratch_.tryToMake(script); }

  const std::string file_ = scratch_.path("folder/file"), folder_ = scratch_.path("folder");
};

TEST_F(ExchangedItemTest, AStashedFolderIsNotFollowedToItsNewName) {
  const auto aside = scratch_.path("aside");
  for (const bool substitute : {false, true}) {
    expectSafety(
        {{{"aside", "link"}, {"folder", "link"}},
         script("mkdir -m 0777 folder; mkdir -m 0700 precious; chown 1234:1234 folder;"
                "ln -s precious link"),
         [&] {
           const auto status = test::statusOf(scratch_.path("precious"));
           return status.st_uid == 0 && (status.st_mode & 0077) == 0;
         }},
        [&] {
          const bool isAside = rename(folder_.c_str(), aside.c_str()) == 0;
          if (isAside) give(aside);
          return isAside;
        },
        performing("RenameStashfolder", {folder_, "aside", substitute}));
  }
}

TEST_F(ExchangedItemTest, PermissionsGoToTheObjectThatHadTheOthers) {
  constexpr int groupPermissions = 0x04;
  expectSafety(
      {{{"folder/file", "secret"}},
       script("mkdir -m 0770 folder; touch folder/file secret; chown 1234:1234 folder/file;"
              "chmod 0606 folder/file; chmod 0600 secret"),
       [&] {
         for (const auto& path : {file_, scratch_.path("secret")}) {
           const auto status = test::statusOf(path);
           if (status.st_uid == 0 && (status.st_mode & 0007) != 0) return false;
         }
         return true;
       }},
      [&] { return chmod(file_.c_str(), (test::statusOf(file_).st_mode & 07777) | 0060) == 0; },
      performing("PropPermissions", {folder_, 0, false, groupPermissions}));
}

TEST_F(ExchangedItemTest, FlagsGoToTheTargetThatHadTheOthers) {
  if (!canMake("touch file; flag i file")) GTEST_SKIP() << "needs a file system with flags";
  const auto link = folder_ + "/link";
  for (const bool isRecursive : {false, true}) {
    // The flag of the plain file is changed, whichever way.
    expectSafety(
        {{{"folder/link", "other"}},
         script("touch plain log; mkdir folder; ln -s ../plain folder/link; ln -s ../log other;"
                "flag a log;" +
                std::string(isRecursive ? "flag i plain" : "")),
         [&] { return hasFlag("log", file_flag::userAppendOnly); }},
        [&] {
          auto status = platform_.files.status(link.c_str(), Links::follow);
          if (!status) return false;
          const auto wanted = status->flags ^ file_flag::userImmutable;
          const auto target = platform_.files.hold(link.c_str(), Links::follow);
          status->flags = ~wanted;  // All flags are written.
          return target && target->setFlags(*status, wanted) == PosixCode::success;
        },
        performing("ModifyProtection",
                   {isRecursive ? folder_ : link, !isRecursive, isRecursive, false}));
  }
}

TEST_F(ExchangedItemTest, DeletionClearsNoFlagOfALinksTarget) {
  if (!canMake("touch file; flag i file")) GTEST_SKIP() << "needs a file system with flags";
  expectSafety(
      {{{"folder/file", "link"}},
       script(
           "mkdir folder; touch folder/file precious; ln -s $PWD/precious link; flag i precious"),
       [&] { return hasFlag("precious", file_flag::userImmutable); }},
      [&] {
        if (S_ISLNK(test::statusOf(file_).st_mode)) return true;
        const auto held = platform_.files.hold(file_.c_str(), Links::follow);
        return !held || held->setFlags(*held->status(), 0) == PosixCode::success;
      },
      performing("DeleteFoldercontents", {folder_}),
      performing("DeleteFileobjects", {"1", "0", file_}),
      performing("DeleteFileobjects", {"0", "0", file_}));
}

constexpr const char* classicRecord = "user.com.apple.FinderInfo";

TEST_F(ExchangedItemTest, ASystemFileIsNotTheOneThatTookItsName) {
  const auto precious = scratch_.path("precious");
  if (!canMake("setrecord 00 .")) GTEST_SKIP() << "needs attributes";
  expectSafety(
      {{{"folder/file", "folder/hard"}},
       script("mkdir folder; printf p > precious; ln precious folder/hard; touch folder/file;"
              "chown 1234 folder/file; setrecord 5459504543524541" +
              std::string(48, '0') + " folder/file"),
       [&] {
         return test::contentsOf(precious) == "p" && test::statusOf(precious).st_uid == 0 &&
                getxattr(precious.c_str(), classicRecord, nullptr, 0) < 0;
       }},
      [&] {
        const auto uid = test::statusOf(file_).st_uid;
        return chown(file_.c_str(), uid, uid) == 0;
      },
      performing("ModifySystemfile", {file_, Data{'n'}, true}));
}

TEST_F(ExchangedItemTest, ClassicAttributesOfOneObjectDoNotGetIntoAnother) {
  if (!canMake("setrecord 00 .")) GTEST_SKIP() << "needs attributes";
  const auto record = [](const std::string& path) {
    char text[33] = {};
    getxattr(path.c_str(), classicRecord, text, sizeof text - 1);
    return std::string(text).substr(0, 9);
  };
  expectSafety(
      {{{"folder/file", "folder/other"}},
       script("mkdir folder; for name in file other; do touch folder/$name;"
              "attribute user.com.apple.FinderInfo $name folder/$name; done"),
       [&] {
         for (const auto* name : {"folder/file", "folder/other"}) {
           const auto is = record(scratch_.path(name));
           if (is != "file" && is != "other" && is != "TYPECREA@") return false;
         }
         return true;
       }},
      [&] {
        const auto changed = record(file_).substr(0, 4) + "CREA";
        return setxattr(file_.c_str(), classicRecord, changed.data(), changed.size(), 0) == 0;
      },
      performing("ModifyHfsattr", {file_, 0x54595045, 0x43524541, 1}));
}

TEST_F(ExchangedItemTest, ANewFolderIsTheOneThatWasMade) {
  ino_t other = 0;
  const auto isOther = [&](const PosixResult<Folder>& opened) {
    return opened && platform_.files.status({*opened, "."}, Links::stay)->inode == other;
  };
  const auto remember = [&] { other = test::statusOf(scratch_.path("other")).st_ino; };
  for (const std::string made :
       {"mkdir -m 0700 other; touch other/mark", "mkdir -m 0400 other; touch other/mark",
        "mkdir -m 0700 other", "mkdir -m 0400 other; chown 1234 other"}) {
    SCOPED_TRACE(made);
    expectSafety(
        {{{"folder", "other"}}, script(made), [] { return true; }},
        [&] {
          remember();
          mkdir(folder_.c_str(), 0700);
          return !isOther(platform_.files.openFolder(folder_.c_str(), Links::stay));
        },
        [&] {
          remember();
          return !isOther(platform_.files.createFolder(folder_.c_str(), 0700));
        });
  }
}

/// The owner of a tree puts a link to root's folder "precious", or to an object in it, in the place
/// of the object of the same name in the tree.
class ExchangedFolderTest : public ExchangedItemTest {
 protected:
  template <class Change, class Look>
  Attack attack(Change change, Look looksRight) {
    return {{{"tree/folder", "links/precious"},
             {"tree/folder/inner", "links/inner"},
             {"tree/folder/1", "links/1"}},
            [this, change] {
              Array all{"1", "0"};
              for (const auto* name : {"tree", "precious", "links"}) {
                if (test::exists(scratch_.path(name))) all.push_back(scratch_.path(name));
              }
              EXPECT_TRUE(all.size() == 2 || perform("DeleteFileobjects", all) == success);
              for (const auto* name : {"tree", "tree/folder", "precious", "links"}) {
                scratch_.folder(name);
              }
              for (const std::string top : {"tree/folder", "precious"}) {
                scratch_.folder(top + "/inner");
                for (const auto* name : names) scratch_.file(top + name);
              }
              scratch_.link("links/precious", scratch_.path("precious"));
              for (const std::string name : {"inner", "1"}) {
                scratch_.link("links/" + name, scratch_.path("precious/" + name));
              }
              for (const auto* name : {"precious", "inner", "1"}) {
                (void)!lchown((scratch_.path("links/") + name).c_str(), 1234, 1234);
              }
              change();
            },
            [this, looksRight] {
              for (const auto* name : names) {
                const auto path = scratch_.path("precious") + name;
                const auto status = platform_.files.status(path.c_str(), Links::stay);
                if (!status || !looksRight(*status)) return false;
              }
              return true;
            }};
  }
  /// A careless action: looks for the files of the folder, then acts on each by its path.
  template <class Action>
  auto byPath(Action action) const {
    return [this, action] {
      std::vector<std::string> paths;
      for (const auto* name : names) {
        const auto top = scratch_.path("tree/folder"), path = top + name;
        const auto parent = path.substr(0, path.rfind('/'));
        const bool isBelowALink =
            S_ISLNK(test::statusOf(top).st_mode) || S_ISLNK(test::statusOf(parent).st_mode);
        if (!isBelowALink) paths.push_back(path);
      }
      for (const auto& path : paths) action(path);
      return true;
    };
  }

  static constexpr const char* names[] = {"/1", "/2", "/inner/3", "/inner/4"};
  const std::string tree_ = scratch_.path("tree");
};

TEST_F(ExchangedFolderTest, RemovalStaysInTheTree) {
  expectSafety(attack([] {}, [](const FileStatus&) { return true; }),
               byPath([](const std::string& path) { unlink(path.c_str()); }),
               performing("DeleteFileobjects", {"1", "0", tree_}),
               performing("DeleteFoldercontents", {tree_}));
}

TEST_F(ExchangedFolderTest, ClearingFlagsStaysInTheTree) {
  if (!canMake("touch file; flag i file")) GTEST_SKIP() << "needs a file system with flags";
  expectSafety(
      attack(
          [&] {
            for (const auto* name : {"precious/1", "precious/2", "precious/inner/3",
                                     "precious/inner/4", "tree/folder/inner/3"}) {
              const auto held = platform_.files.hold(scratch_.path(name).c_str(), Links::stay);
              EXPECT_EQ(held->setFlags(*held->status(), file_flag::userImmutable),
                        PosixCode::success);
            }
          },
          [](const FileStatus& status) { return status.flags == file_flag::userImmutable; }),
      byPath([&](const std::string& path) {
        (void)perform("ModifyProtection", {path, false, false, false});
      }),
      performing("DeleteFileobjects", {"1", "0", tree_}),
      performing("DeleteFoldercontents", {tree_}),
      performing("ModifyProtection", {tree_, false, true, false}));
}

TEST_F(ExchangedFolderTest, PropagationStaysInTheTree) {
  constexpr int allButTheList = 0x3e;
  expectSafety(attack([&] { EXPECT_TRUE(give(tree_) && chmod(tree_.c_str(), 0770) == 0); },
                      [](const FileStatus& status) {
                        return status.userID == 0 && status.groupID == 0 && status.mode == 0100644;
                      }),
               byPath([](const std::string& path) { give(path); }),
               performing("PropPermissions", {tree_, 0, false, allButTheList}));
}

TEST_F(ExchangedFolderTest, SearchesStayInTheTree) {
  // Larger than everything else that may be found together.
  constexpr std::int64_t preciousSize = 1LL << 40;
  std::int64_t found = 0;  // Each process that is attacked has its own.
  const auto look = byPath([&](const std::string& path) { found += test::statusOf(path).st_size; });
  expectSafety(
      attack(
          [&] {
            for (const auto* name : names) {
              EXPECT_EQ(truncate((scratch_.path("precious") + name).c_str(), 1LL << 40), 0);
            }
          },
          [](const FileStatus&) { return true; }),
      [&] { return look() && found < preciousSize; },
      [&] {
        const std::pair<std::string, Array> searches[] = {
            {"SearchAgedfiles", {tree_, 0, false}}, {"SearchPatterns", {tree_, "0", "1", "1"}}};
        for (const auto& [stem, arguments] : searches) {
          if (perform(stem, arguments) != success) return false;
          for (const auto& record : records()) {
            found += record.dictionary()->at("Size").number()->asInt64();
          }
        }
        const auto answer = perform("InspectStoragesize", {tree_});
        return found + answer->userInfo.at("Size").number()->asInt64() < preciousSize;
      });
}

}  // namespace
}  // namespace qrt
