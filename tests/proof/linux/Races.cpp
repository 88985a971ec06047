// The owner of a tree exchanges its objects without a pause, and file systems are mounted in it,
// while a daemon works on it for root. Needs root.
//
//   attack_races SEED ROUNDS TABLE

#include <ftw.h>
#include <sys/fsuid.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/syscall.h>

#include <atomic>
#include <random>
#include <sstream>
#include <thread>

#include <linux/fs.h>

#include "client/Requestor.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/AccessControl.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"
#include "support/DaemonProcess.h"
#include "support/Figures.h"

namespace qrt::test {
namespace {

constexpr uid_t owner = 1234;

using Row = std::vector<std::string>;
using Rows = std::vector<Row>;

/// The lines of the table that begin with one of these words.
Rows rowsOf(const char* table, const std::string& kinds) {
  Rows rows;
  std::ifstream lines(table);
  for (std::string line, word; std::getline(lines, line);) {
    Row row;
    for (std::istringstream words(line); std::getline(words, word, '\t');) row.push_back(word);
    if (kinds.find(row[0]) != std::string::npos) rows.push_back(row);
  }
  return rows;
}

/// The folder "tree" of the owner, with links to objects of root in "outside". A read of one of
/// these changes its time as well.
class Ground {
 public:
  Ground(const std::string& base, const char* table)
      : base_(base), objects_(rowsOf(table, "object")), links_(rowsOf(table, "link")) {
    mkdir(base.c_str(), 0755);
    check(mount("", base.c_str(), "tmpfs", MS_STRICTATIME, "mode=755"));
    std::ofstream(at("users")) << "root:x:0:0::/:\nracer:x:1234:1234::" << at("tree/top") << ":\n";
    check(mount(at("users").c_str(), "/etc/passwd", "", MS_BIND, nullptr));
    makeOutside();
  }
  ~Ground() { umount2(base_.c_str(), MNT_DETACH); }

  std::string at(const std::string& name) const { return base_ + "/" + name; }

  void makeTree() const {
    for (const auto* name : {"tree", "elsewhere"}) {
      remove(name);
      mkdir(at(name).c_str(), 0755);
    }
    check(chown(at("tree").c_str(), owner, owner));
    setfsuid(owner);
    makeObjects("tree/top");
    for (const auto& row : links_) {
      check(symlink(at("outside/" + row[3]).c_str(), at("tree/" + row[2]).c_str()));
    }
    check(link(at("tree/top/folder/2").c_str(), at("tree/hard").c_str()));
    setfsuid(0);
  }

  /// By paths, in two passes: safe only while no other process changes the tree.
  void remove(const std::string& name) const {
    const auto clearFlags = [](const char* path, const struct stat*, int kind, FTW*) {
      const int object = kind == FTW_SL ? -1 : open(path, O_RDONLY | O_CLOEXEC);
      const int none = 0;
      ioctl(object, FS_IOC_SETFLAGS, &none);
      return close(object), 0;
    };
    const auto removeOne = [](const char* path, auto...) { return ::remove(path), 0; };
    nftw(at(name).c_str(), clearFlags, 16, FTW_PHYS);
    nftw(at(name).c_str(), removeOne, 16, FTW_PHYS | FTW_DEPTH);
  }

  /// Whether nothing outside was changed or read since the last question.
  bool isOutsideSame() {
    const bool isSame = look() == outside_;
    if (!isSame) makeOutside();
    return isSame;
  }

 private:
  static void check(int result) {
    if (result != 0) std::perror("the ground");
  }
  void makeOutside() {
    remove("outside");
    makeObjects("outside");
    for (const auto& row : objects_) {
      const timespec past[] = {{1000, 0}, {2000, 0}};
      utimensat(AT_FDCWD, at("outside" + row[1]).c_str(), past, 0);
    }
    outside_ = look();
  }
  std::string look() const {
    std::string all;
    for (const auto& row : objects_) {
      struct stat status {};
      lstat(at("outside" + row[1]).c_str(), &status);
      all.append(reinterpret_cast<const char*>(&status), sizeof status);
    }
    return all;
  }
  void makeObjects(const std::string& top) const {
    for (const auto& row : objects_) {
      const auto path = at(top + row[1]);
      if (path.back() == '/') {
        mkdir(path.c_str(), 0751);
      } else {
        std::ofstream(path) << "{key = old;}";
      }
    }
  }

  const std::string base_;
  const Rows objects_, links_;
  std::string outside_;
};

class Race {
 public:
  Race(unsigned seed, long rounds, const char* table)
      : random_(seed), rounds_(rounds), table_(table) {}

  int run() {
    auto requestor = Requestor::connect(native_.facilities(), daemon_.socketPath(), 1, catalogue_);
    if (!requestor) return 2;
    const auto control = attack("control", "link", [&](const Row& exchange) {
      struct stat status {};
      const auto path = ground_.at("tree/" + exchange[1]);
      if (lstat(path.c_str(), &status) != 0 || S_ISLNK(status.st_mode)) return;
      (void)(*requestor)->perform("touch-fileobject", {path});
    });
    figures_.atLeast("a look and then a change by path, as control: rounds that reach outside, %",
                     100.0 * static_cast<double>(control) / static_cast<double>(rounds_), 1);
    for (const auto& row : rowsOf(table_, "act follow")) judge(**requestor, row);
    figures_.atMost("operations that were never or always refused", oneSided_, 0);
    figures_.atLeast("answers after all rounds", (*requestor)->version() ? 1 : 0, 1);
    return figures_.areKept() ? 0 : 1;
  }

 private:
  void judge(Requestor& requestor, const Row& row) {
    Array arguments;
    std::string name = row[1];
    for (std::size_t i = 2; i < row.size(); ++i) {
      arguments.push_back(argumentOf(row[i]));
      name += " " + row[i];
    }
    long done = 0;
    const auto lost =
        attack(name, row[0] == "act" ? "link swap move" : "swap move", [&](const Row&) {
          const auto outcome = requestor.perform(row[1], arguments);
          // An answer of 0 is that there is no object.
          done += !outcome || (outcome->code == 0 &&
                               outcome->userInfo.begin()->second.number()->asInt64() != 0);
        });
    const auto counts =
        std::to_string(done) + " done, " + std::to_string(rounds_ - done) + " refused";
    figures_.atMost(name + ": rounds that reach outside, " + counts, static_cast<double>(lost), 0);
    oneSided_ += done == 0 || done == rounds_;
  }

  /// Returns the number of rounds that reach outside.
  template <class Act>
  long attack(const std::string& name, const char* kinds, Act act) {
    std::fprintf(stderr, "%s\n", name.c_str());
    const auto exchanges = rowsOf(table_, kinds);
    long lost = 0;
    for (long round = 0; round < rounds_; ++round) {
      ground_.makeTree();
      playRound(exchanges[random_() % exchanges.size()], random_() % 4 == 0, act);
      lost += !ground_.isOutsideSame();
    }
    return lost;
  }

  template <class Act>
  void playRound(const Row& exchange, bool hasMounts, Act act) const {
    const auto tree = ground_.at("tree");
    std::atomic<bool> isOver = false, hasBegun = false;
    // What is mounted on the tree goes with this mount.
    if (hasMounts) mount(tree.c_str(), tree.c_str(), "", MS_BIND, nullptr);
    std::thread striker([&] { strike(exchange, isOver, hasBegun); });
    std::thread mounter([&] {
      if (hasMounts) mountAndUnmount(tree, isOver);
    });
    while (!hasBegun) std::this_thread::yield();
    act(exchange);
    isOver = true;
    striker.join();
    mounter.join();
    if (hasMounts) umount2(tree.c_str(), MNT_DETACH);
  }

  /// With the rights of the owner, which these calls give to this thread only.
  void strike(const Row& exchange, const std::atomic<bool>& isOver,
              std::atomic<bool>& hasBegun) const {
    syscall(SYS_setresgid, owner, owner, owner);
    syscall(SYS_setresuid, owner, owner, owner);
    const auto first = ground_.at("tree/" + exchange[1]),
               second = ground_.at("tree/" + exchange[2]);
    const unsigned flags = exchange[0] == "move" ? 0 : RENAME_EXCHANGE;
    for (; !isOver; hasBegun = true) {
      renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), flags);
      renameat2(AT_FDCWD, second.c_str(), AT_FDCWD, first.c_str(), flags);
    }
  }

  /// As a person with removable media may ask for.
  static void mountAndUnmount(const std::string& tree, const std::atomic<bool>& isOver) {
    const auto remount = [&](unsigned long mode) {
      mount("", tree.c_str(), "", MS_REMOUNT | MS_BIND | MS_STRICTATIME | mode, nullptr);
    };
    for (const auto folder = tree + "/top/folder"; !isOver;) {
      const int held = open(folder.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
      mount("", ("/proc/self/fd/" + std::to_string(held)).c_str(), "tmpfs", 0, nullptr);
      close(held);
      remount(MS_RDONLY);
      umount2(folder.c_str(), MNT_DETACH | UMOUNT_NOFOLLOW);
      remount(0);
    }
  }

  PropertyValue argumentOf(const std::string& word) const {
    const auto kind = word.substr(0, 1), rest = word.substr(kind.size());
    auto& lists = native_.facilities().accessControl;
    if (kind == "/") return ground_.at(rest);
    if (kind == "#") return std::stol(rest);
    if (kind == "=") return Data(rest.begin(), rest.end());
    if (kind == "%") return *lists.externalized(*lists.fromText(rest));
    return word;
  }

  std::mt19937 random_;
  const long rounds_;
  const char* const table_;
  int oneSided_ = 0;
  Figures figures_;
  const DaemonProcess daemon_{endsWithItsParent};
  Ground ground_{daemon_.folder() + "/ground", table_};
  const NativePlatform native_;
  const QRTPrivilegedOperationSetVK2 catalogue_{native_.facilities().log,
                                                native_.facilities().authority};
};

}  // namespace
}  // namespace qrt::test

int main(int count, char** words) {
  if (count != 4) return 2;
  // Other processes see no mounts of this one.
  if (unshare(CLONE_NEWNS) != 0 || mount("", "/", "", MS_REC | MS_PRIVATE, nullptr) != 0) return 2;
  return qrt::test::Race(static_cast<unsigned>(std::atoi(words[1])), std::atol(words[2]), words[3])
      .run();
}
