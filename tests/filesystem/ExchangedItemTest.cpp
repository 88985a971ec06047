#include <gmock/gmock.h>

#include <functional>

#include "filesystem/OperationFixture.h"
#include "support/Attack.h"

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
    const auto status = context_.files.status(scratch_.path(name).c_str(), Links::stay);
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
          const auto status = context_.files.status(link.c_str(), Links::follow);
          if (!status) return false;
          const auto wanted = isRecursive ? status->flags & ~file_flag::userImmutable
                                          : status->flags | file_flag::userImmutable;
          return context_.files.setFlags(link.c_str(), Links::follow, *status, wanted) ==
                 PosixCode::success;
        },
        performing("ModifyProtection",
                   {isRecursive ? folder : link, !isRecursive, isRecursive, false}));
  }
}

TEST_F(ExchangedItemTest, ANewFolderIsTheOneThatWasMade) {
  const auto folder = scratch_.path("folder"), other = scratch_.path("other");
  ino_t otherInode = 0;
  const auto isOther = [&](const PosixResult<Folder>& opened) {
    return opened && context_.files.status({*opened, "."}, Links::stay)->inode == otherInode;
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
          return !isOther(context_.files.openFolder(folder.c_str(), Links::stay));
        },
        [&] {
          remember();
          return !isOther(context_.files.createFolder(folder.c_str(), 0700));
        });
  }
}

}  // namespace
}  // namespace qrt
