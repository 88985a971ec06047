#include <gmock/gmock.h>

#include <functional>
#include <utility>

#include "filesystem/OperationFixture.h"
#include "support/SteppedChild.h"

namespace qrt {
namespace {

using testing::IsEmpty;
using testing::Not;

constexpr uid_t user = 1234;

/// The owner of a folder exchanges an object in it, while an operation works on it, for another
/// that he could not change himself.
class ExchangedItemTest : public test::OperationFixture {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
  }

  /// `first` and `second` are made, with what is around them, by a script.
  struct Attack {
    std::string first, second, script;
    /// Whether the other object, whatever its name is by now, is as it was.
    std::function<bool()> isSafe;
  };

  /// The same attacks succeed against `careless`, and never against `careful`.
  template <class Careless, class Careful>
  void expectSafety(const Attack& attack, Careless careless, Careful careful) {
    const auto prepare = [&] { scratch_.make(attack.script); };
    const auto stopsLost = [&](const auto& action) {
      const auto attacks =
          test::attackAtEveryCall(scratch_.path(attack.first), scratch_.path(attack.second),
                                  prepare, action, attack.isSafe);
      EXPECT_GT(attacks.exchanges, 3);
      return attacks.lostStops;
    };
    EXPECT_THAT(stopsLost(careless), Not(IsEmpty()));
    EXPECT_THAT(stopsLost(careful), IsEmpty());
  }

  /// An attacker can make it fail, nothing more.
  auto performing(const std::string& stem, const Array& arguments) {
    return [this, stem, arguments] {
      (void)perform(stem, arguments);
      return true;
    };
  }

  /// Of root's still, and closed to everybody else.
  bool isPrivate(const std::string& path) const {
    const auto status = test::statusOf(path);
    return status.st_uid == 0 && (status.st_mode & 0077) == 0;
  }
  static bool give(const std::string& path, uid_t owner) {
    return chown(path.c_str(), owner, owner) == 0;
  }
  bool isAppendOnly(const std::string& name) const {
    const auto status = platform_.files.status(scratch_.path(name).c_str(), Links::stay);
    return status && (status->flags & file_flag::userAppendOnly) != 0;
  }
};

TEST_F(ExchangedItemTest, AStashedFolderIsNotFollowedToItsNewName) {
  const auto folder = scratch_.path("folder"), aside = scratch_.path("aside");
  expectSafety(
      {"aside", "link",
       "rm -rf *; mkdir folder precious; chown 1234:1234 folder; chmod 0777 folder;"
       "chmod 0700 precious; ln -s precious link",
       [&] { return isPrivate(scratch_.path("precious")); }},
      [&] { return rename(folder.c_str(), aside.c_str()) == 0 && (give(aside, user), true); },
      performing("RenameStashfolder", {folder, "aside", false}));
}

TEST_F(ExchangedItemTest, PermissionsGoToTheObjectThatHadTheOthers) {
  const auto file = scratch_.path("folder/file");
  constexpr int groupPermissions = 0x04;
  expectSafety(
      {"folder/file", "secret",
       "rm -rf *; mkdir -m 0770 folder; touch folder/file secret; chown 1234:1234 folder/file;"
       "chmod 0606 folder/file; chmod 0600 secret",
       [&] {
         // The group's are given.
         for (const auto& path : {file, scratch_.path("secret")}) {
           const auto status = test::statusOf(path);
           if (status.st_uid == 0 && (status.st_mode & 0007) != 0) return false;
         }
         return true;
       }},
      [&] {
        const auto mode = test::statusOf(file).st_mode & 07777;
        return chmod(file.c_str(), mode | 0060) == 0;
      },
      performing("PropPermissions", {scratch_.path("folder"), 0, false, groupPermissions}));
}

TEST_F(ExchangedItemTest, FlagsGoToTheTargetThatHadTheOthers) {
  for (const auto* name : {"plain", "log"}) {
    scratch_.file(name);
    if (!scratch_.changeFlags(name, "+i")) GTEST_SKIP() << "needs a file system with flags";
  }
  const auto folder = scratch_.path("folder"), link = folder + "/link";
  for (const bool isRecursive : {false, true}) {
    // The flag of the plain file is changed, whichever way.
    const auto change = isRecursive ? "flag i plain;" : "";
    expectSafety(
        {"folder/link", "other",
         "unflag . ; rm -rf *; touch plain log; mkdir folder; ln -s ../plain "
         "folder/link; ln -s ../log other;"
         "flag a log;" +
             std::string(change),
         [&] { return isAppendOnly("log"); }},
        [&] {
          auto status = platform_.files.status(link.c_str(), Links::follow);
          if (!status) return false;
          const auto wanted = isRecursive ? status->flags & ~file_flag::userImmutable
                                          : status->flags | file_flag::userImmutable;
          const auto target = platform_.files.hold(link.c_str(), Links::follow);
          status->flags = ~wanted;  // All flags are written.
          return target && target->setFlags(*status, wanted) == PosixCode::success;
        },
        performing("ModifyProtection",
                   {isRecursive ? folder : link, !isRecursive, isRecursive, false}));
  }
}

TEST_F(ExchangedItemTest, DeletionClearsNoFlagOfALinksTarget) {
  scratch_.file("precious");
  if (!scratch_.changeFlags("precious", "-i")) GTEST_SKIP() << "needs a file system with flags";
  const auto file = scratch_.path("folder/file");
  const auto isProtected = [&](const std::string& name) {
    const auto status = platform_.files.status(scratch_.path(name).c_str(), Links::stay);
    return status && (status->flags & file_flag::userImmutable) != 0;
  };
  const std::pair<std::string, Array> deletions[] = {
      {"DeleteFoldercontents", {scratch_.path("folder")}},
      {"DeleteFileobjects", {"1", "0", file}},
      {"DeleteFileobjects", {"0", "0", file}}};
  for (const auto& [stem, arguments] : deletions) {
    expectSafety(
        {"folder/file", "link",
         "chattr -f -i precious; rm -rf *; mkdir folder; touch folder/file precious;"
         "ln -s ../precious folder/../link; chattr +i precious",
         [&] { return isProtected("precious"); }},
        [&] {
          if (S_ISLNK(test::statusOf(file).st_mode)) return true;
          const auto held = platform_.files.hold(file.c_str(), Links::follow);
          if (!held) return true;
          auto seen = *held->status();
          return held->setFlags(seen, 0) == PosixCode::success;
        },
        performing(stem, arguments));
  }
}

TEST_F(ExchangedItemTest, ASystemFileIsNotTheOneThatTookItsName) {
  scratch_.file("precious");
  const auto file = scratch_.path("folder/file"), precious = scratch_.path("precious");
  const auto record = "setfattr -n user.com.apple.FinderInfo -v 0x5459504543524541" +
                      std::string(48, '0') + " folder/file";
  if (!test::run({"setfattr", "-n", "user.x", "-v", "x", precious})) {
    GTEST_SKIP() << "needs attributes";
  }
  expectSafety(
      {"folder/file", "folder/hard",
       "rm -rf *; mkdir folder; printf p > precious; ln precious folder/hard;"
       "touch folder/file; chown 1234 folder/file;" +
           record,
       [&] {
         return test::printed("cat " + precious + "; getfattr -d " + precious) == "p" &&
                test::statusOf(precious).st_uid == 0;
       }},
      [&] {
        const auto uid = test::statusOf(file).st_uid;
        return chown(file.c_str(), uid, uid) == 0;
      },
      performing("ModifySystemfile", {file, Data{'n'}, true}));
}

TEST_F(ExchangedItemTest, ClassicAttributesOfOneObjectDoNotGetIntoAnother) {
  const auto file = scratch_.path("folder/file");
  const auto record = [](const std::string& path) {
    return test::printed("getfattr --absolute-names --only-values -n user.com.apple.FinderInfo " +
                         path + " 2>/dev/null | head -c 9");
  };
  if (!test::run({"setfattr", "-n", "user.x", "-v", "x", scratch_.file("probe")})) {
    GTEST_SKIP() << "needs attributes";
  }
  constexpr std::uint32_t type = 0x54595045, creator = 0x43524541;
  expectSafety(
      {"folder/file", "folder/other",
       "rm -rf *; mkdir folder; for name in file other; do touch folder/$name;"
       "setfattr -n user.com.apple.FinderInfo -v '\"'$name'\"' folder/$name; done",
       [&] {
         for (const auto* name : {"folder/file", "folder/other"}) {
           const auto is = record(scratch_.path(name));
           if (is != "file" && is != "other" && is != "TYPECREA@") return false;
         }
         return true;
       }},
      [&] {
        const auto before = record(file);
        return test::run({"setfattr", "-n", "user.com.apple.FinderInfo", "-v",
                          before.substr(0, 4) + "CREA", file});
      },
      performing("ModifyHfsattr", {file, type, creator, 1}));
}

TEST_F(ExchangedItemTest, ANewFolderIsTheOneThatWasMade) {
  const auto folder = scratch_.path("folder"), other = scratch_.path("other");
  ino_t otherInode = 0;
  const auto isOther = [&](const PosixResult<Folder>& opened) {
    return opened && platform_.files.status({*opened, "."}, Links::stay)->inode == otherInode;
  };
  for (const std::string made :
       {"mkdir -m 0700 other; touch other/mark", "mkdir -m 0400 other; touch other/mark",
        "mkdir -m 0700 other", "mkdir -m 0400 other; chown 1234 other"}) {
    SCOPED_TRACE(made);
    const auto remember = [&] { otherInode = test::statusOf(other).st_ino; };
    expectSafety(
        {"folder", "other", "rm -rf *; " + made, [] { return true; }},
        [&] {
          remember();
          mkdir(folder.c_str(), 0700);
          return !isOther(platform_.files.openFolder(folder.c_str(), Links::stay));
        },
        [&] {
          remember();
          return !isOther(platform_.files.createFolder(folder.c_str(), 0700));
        });
  }
}

/// An exchanged folder: the owner of a tree puts a link to root's folder "precious", which has
/// files of the same names, in the place of a folder in the tree.
class ExchangedFolderTest : public ExchangedItemTest {
 protected:
  static constexpr const char* make =
      "unflag .; rm -rf *; mkdir -p tree/folder/inner precious/inner; ln -s $PWD/precious link;"
      "for name in 1 2 inner/3 inner/4; do touch tree/folder/$name precious/$name; done;";

  /// A careless action on each file of the folder: its path may lead elsewhere at the next call.
  template <class Action>
  auto byPath(Action action) const {
    return [this, action] {
      for (const std::string name : {"/1", "/2", "/inner/3", "/inner/4"}) {
        if (!S_ISLNK(test::statusOf(folder_).st_mode)) action(folder_ + name);
      }
      return true;
    };
  }
  /// Whether root's files all exist and look right.
  template <class Look>
  auto preciousFiles(Look looksRight) const {
    return [this, looksRight] {
      for (const std::string name : {"/1", "/2", "/inner/3", "/inner/4"}) {
        const auto path = scratch_.path("precious" + name);
        const auto status = platform_.files.status(path.c_str(), Links::stay);
        if (!status || !looksRight(*status)) return false;
      }
      return true;
    };
  }
  static bool isImmutable(const FileStatus& status) {
    return status.flags == file_flag::userImmutable;
  }

  const std::string tree_ = scratch_.path("tree"), folder_ = tree_ + "/folder";
};

TEST_F(ExchangedFolderTest, RemovalStaysInTheTree) {
  expectSafety({"tree/folder", "link", make, preciousFiles([](const FileStatus&) { return true; })},
               byPath([](const std::string& path) { unlink(path.c_str()); }),
               performing("DeleteFileobjects", {"1", "0", tree_}));
}

TEST_F(ExchangedFolderTest, ClearingFlagsStaysInTheTree) {
  scratch_.file("probe");
  if (!scratch_.changeFlags("probe", "+i")) GTEST_SKIP() << "needs a file system with flags";
  scratch_.changeFlags("probe", "-i");
  const auto protect = make + std::string(
                                  "flag i tree/folder/inner/3; for name in 1 2 inner/3 inner/4; do "
                                  "flag i precious/$name; done");
  const auto unprotect = byPath([&](const std::string& path) {
    (void)perform("ModifyProtection", {path, false, false, false});
  });
  for (const auto& [stem, arguments] :
       {std::pair<std::string, Array>{"DeleteFileobjects", {"1", "0", tree_}},
        {"ModifyProtection", {tree_, false, true, false}}}) {
    expectSafety({"tree/folder", "link", protect, preciousFiles(isImmutable)}, unprotect,
                 performing(stem, arguments));
  }
  scratch_.make("unflag .");
}

TEST_F(ExchangedFolderTest, PropagationStaysInTheTree) {
  constexpr int allButTheList = 0x3e;
  expectSafety({"tree/folder", "link", make + std::string("chown 1234:1234 tree; chmod 0770 tree"),
                preciousFiles([](const FileStatus& status) {
                  return status.userID == 0 && status.groupID == 0 && status.mode == 0100644;
                })},
               byPath([](const std::string& path) { give(path, user); }),
               performing("PropPermissions", {tree_, 0, false, allButTheList}));
}

TEST_F(ExchangedFolderTest, SearchesStayInTheTree) {
  // Larger than everything else that may be found together.
  constexpr std::int64_t preciousSize = 1LL << 40;
  std::int64_t found = 0;  // Each process that is attacked has its own.
  const auto look = byPath([&](const std::string& path) { found += test::statusOf(path).st_size; });
  expectSafety(
      {"tree/folder", "link",
       make + std::string("truncate -s 1T precious/1 precious/2 precious/inner/*"),
       [] { return true; }},
      [&] { return look() && found < preciousSize; },
      [&] {
        for (const auto& [stem, arguments] :
             {std::pair<std::string, Array>{"SearchAgedfiles", {tree_, 0, false}},
              {"SearchPatterns", {tree_, "0", "1", "1"}}}) {
          if (perform(stem, arguments) != success) return false;
          for (const auto& record : records()) {
            found += record.dictionary()->at("Size").number()->asInt64();
          }
        }
        const auto answer = perform("InspectStoragesize", {tree_});
        found += answer->userInfo.at("Size").number()->asInt64();
        return found < preciousSize;
      });
}

}  // namespace
}  // namespace qrt
