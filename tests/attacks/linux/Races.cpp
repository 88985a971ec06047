// The owner of a folder exchanges objects in it at random moments while root's operations work on
// it. Needs root: the attacker becomes another user. Prints a row for each operation and kind of
// exchange, and ends with 1 when an operation was led astray or when no path-based control was.
//
//   attack_races [--rounds N] [--operation NAME] [--seed N]
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <sys/xattr.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "filesystem/FileSystemHandlers.h"
#include "filesystem/objects/FileManager.h"
#include "filesystem/objects/QRTFileDeletionAdditions.h"
#include "operations/HandlerTable.h"
#include "platform/NativePlatform.h"
#include "support/PlantedFile.h"
#include "support/SteppedChild.h"

namespace qrt {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

constexpr uid_t user = 12345;
constexpr int fillers = 12;
/// A busy machine can keep the attacker from its moments.
constexpr int controlAttempts = 20;

/// What is exchanged, by paths in the attacker's folder.
struct Kind {
  const char *name, *first, *second;
};
constexpr Kind kinds[] = {{"folder for link", "tree/folder/inner", "toInner"},
                          {"file for link", "tree/folder/1", "toFile"},
                          {"file for hard link", "tree/folder/1", "hard"},
                          {"one level up", "tree/folder", "toFolder"},
                          {"swapped folders", "tree/folder", "tree/roots"},
                          {"swapped files", "tree/folder/1", "tree/folder/2"}};
enum : unsigned {
  folderLink = 1,
  fileLink = 2,
  hardLink = 4,
  oneLevelUp = 8,
  folders = 16,
  files = 32,
  links = folderLink | fileLink | oneLevelUp
};

/// The attacker's folder "user", root's objects "root" and another volume.
class World {
 public:
  explicit World(const Platform& platform) : platform_(platform) {
    for (const auto* name : {"user", "root", "volume"}) scratch_.folder(name);
    (void)mount("tmpfs", path("volume").c_str(), "tmpfs", 0, nullptr);
    give(path("user"));
    mkdir(path("root/up").c_str(), 0755);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() {
    protect(path("root"), false);
    umount2(path("volume").c_str(), MNT_DETACH);
  }

  std::string path(const std::string& name) const { return scratch_.path(name); }

  /// Root's objects, which no attack may change. `areFlagged` makes them immutable.
  void makePrecious(bool areFlagged) {
    areFlagged_ = areFlagged;
    protect(path("root/up"), false);
    remove("root/up");
    mkdir(path("root/up").c_str(), 0755);
    fill("root/up/folder", 0, "root");
    if (areFlagged) protect(path("root/up/folder"), true);
    before_ = fingerprint();
  }

  void makePreciousAgain() { makePrecious(areFlagged_); }

  /// The attacker's tree, as at the beginning of each round.
  void makeTree() {
    remove("user/tree");
    for (const auto* name : {"toInner", "toFile", "hard", "toFolder"}) {
      remove(std::string("user/") + name);  // A folder after an exchange.
    }
    remove("volume/moved");
    mkdir(path("user/tree").c_str(), 0755);
    give(path("user/tree"));
    fill("user/tree/folder", user, "user");
    mkdir(path("user/tree/roots").c_str(), 0755);
    write("user/tree/roots/1", 0, "root");
    write("user/tree/roots/mark", 0, "root");
    for (const auto& [name, target] : {std::pair("toInner", "root/up/folder/inner"),
                                       {"toFile", "root/up/folder/1"},
                                       {"toFolder", "root/up/folder"}}) {
      scratch_.link(std::string("user/") + name, path(target));
      give(path(std::string("user/") + name));
    }
    if (!areFlagged_) {
      (void)!link(path("root/up/folder/2").c_str(), path("user/hard").c_str());
    }
  }

  bool isPreciousAsBefore() const { return fingerprint() == before_; }

  /// Below "folder".
  static std::vector<std::string> fileNames() {
    std::vector<std::string> names{"/1", "/2", "/inner/3"};
    for (int i = 0; i < fillers; ++i) names.push_back("/inner/" + std::to_string(100 + i));
    return names;
  }

 private:
  static void give(const std::string& path) { (void)!lchown(path.c_str(), user, user); }

  void write(const std::string& name, uid_t owner, const char* text) const {
    scratch_.file(name, text);
    (void)!chown(path(name).c_str(), owner, owner);
  }
  void fill(const std::string& top, uid_t owner, const char* text) const {
    for (const auto& folder : {top, top + "/inner"}) {
      mkdir(path(folder).c_str(), 0755);
      (void)!chown(path(folder).c_str(), owner, owner);
    }
    for (const auto& name : fileNames()) write(top + name, owner, text);
  }
  void protect(const std::string& top, bool value) const {
    test::run({"chattr", "-R", "-f", value ? "+i" : "-i", top});
  }
  void remove(const std::string& name) const {
    (void)FileManager::removeItemAtPath(platform_.files, path(name));
  }

  std::string fingerprint() const {
    std::string all;
    auto names = fileNames();
    names.insert(names.end(), {"", "/inner"});
    for (const auto& name : names) {
      const auto at = path("root/up/folder" + name);
      const auto status = platform_.files.status(at.c_str(), Links::stay);
      if (!status) return all + name + " is missing";
      const auto attributes = ::llistxattr(at.c_str(), nullptr, 0);
      for (const auto value : {status->mode, status->flags, status->userID, status->groupID,
                               static_cast<std::uint32_t>(attributes)}) {
        all += std::to_string(value) + " ";
      }
      if (!status->isFolder()) all += test::contentsOf(at);
    }
    return all;
  }

  const Platform& platform_;
  const test::ScratchFolder scratch_;
  bool areFlagged_ = false;
  std::string before_;
};

/// A process of the user's that exchanges two objects at a random moment of each round.
class Attacker {
 public:
  Attacker(std::string first, std::string second, unsigned seed)
      : first_(std::move(first)),
        second_(std::move(second)),
        shared_(new (mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Shared),
        process_(fork()) {
    if (process_ == 0) {
      if (setgid(user) == 0 && setuid(user) == 0) attack(seed);
      _exit(1);
    }
  }
  Attacker(const Attacker&) = delete;
  Attacker& operator=(const Attacker&) = delete;
  ~Attacker() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    munmap(shared_, sizeof(Shared));
  }

  /// Has `act` attacked once.
  template <class Act>
  void duringRound(Act act) {
    const int round = shared_->round.fetch_add(1) + 1;
    while (shared_->ready != round) continue;  // Who yields would come too late.
    const auto begin = Clock::now();
    act();
    const auto took = std::chrono::duration_cast<nanoseconds>(Clock::now() - begin).count();
    // A busy machine now and then takes the processor away.
    const auto counted = std::min<std::int64_t>(took, 2 * shared_->span);
    shared_->span = (shared_->span * 7 + counted) / 8;
    while (shared_->finished != shared_->round) sched_yield();
  }

  int exchanges() const { return shared_->exchanges; }

 private:
  struct Shared {
    std::atomic<int> round = 0, ready = 0, finished = 0, exchanges = 0;
    std::atomic<std::int64_t> span = 200'000;
  };

  void attack(unsigned seed) {
    std::mt19937 random(seed);
    const auto pause = [&](std::int64_t limit) {
      const auto end = Clock::now() + nanoseconds(random() % std::max<std::int64_t>(limit, 1));
      while (Clock::now() < end) continue;
    };
    for (;;) {
      while (shared_->finished == shared_->round) sched_yield();
      shared_->ready = shared_->round.load();
      pause(shared_->span);
      shared_->exchanges += test::exchange(first_, second_);
      if (random() % 2 == 0) {
        pause(shared_->span / 4);
        shared_->exchanges += test::exchange(first_, second_);
      }
      shared_->finished = shared_->round.load();
    }
  }

  const std::string first_, second_;
  Shared* const shared_;
  const pid_t process_;
};

using Act = std::function<void()>;
using Check = bool (*)(const World&);

bool isSafe(const World&) { return true; }

/// Of two folders that were exchanged each is somewhere, and no file changed its owner on the way.
bool nothingIsLostOrMixed(const World& world) {
  bool isMarkThere = false;
  for (const std::string top : {"user/tree/roots", "user/tree/folder", "volume/moved"}) {
    isMarkThere |= test::exists(world.path(top + "/mark"));
    const auto file = world.path(top + "/1");
    if (!test::exists(file)) continue;
    const auto status = test::statusOf(file);
    if (S_ISLNK(status.st_mode)) continue;  // It is the target that has contents.
    const bool isRoots = status.st_uid == 0;
    if (test::contentsOf(file) != (isRoots ? "root" : "user")) return false;
  }
  return isMarkThere;
}

/// Each file has all attributes of the operation or no record.
bool recordsAreWhole(const World& world) {
  for (const std::string name : {"1", "2"}) {
    char record[32];
    const auto path = world.path("user/tree/folder/" + name);
    const auto size = getxattr(path.c_str(), "user.com.apple.FinderInfo", record, sizeof record);
    if (size >= 0 && std::string(record, 9) != "TYPECREA@") return false;
  }
  return true;
}

struct Operation {
  const char *name, *stem;
  std::function<Array(const World&)> arguments;
  unsigned kinds;
  /// Whether root's objects are immutable: flags are then what the attacker is after.
  bool areFlagged;
  Check check;
};

Array treeIn(const World& world) { return {world.path("user/tree")}; }
std::string fileIn(const World& world) { return world.path("user/tree/folder/1"); }
std::string folderIn(const World& world) { return world.path("user/tree/folder"); }

const Operation operations[] = {
    {"delete-foldercontents", "DeleteFoldercontents", treeIn, links, true, isSafe},
    {"delete-foldercontents", "DeleteFoldercontents", treeIn, links | hardLink, false, isSafe},
    {"delete-fileobjects (recursive)", "DeleteFileobjects",
     [](const World& world) {
       return Array{"1", "0", folderIn(world)};
     },
     links, true, isSafe},
    {"delete-fileobjects (single)", "DeleteFileobjects",
     [](const World& world) {
       return Array{"0", "0", fileIn(world)};
     },
     fileLink, true, isSafe},
    {"modify-protection", "ModifyProtection",
     [](const World& world) {
       return Array{world.path("user/tree"), 0, 1, 0};
     },
     links, true, isSafe},
    {"prop-permissions", "PropPermissions",
     [](const World& world) {
       return Array{world.path("user/tree"), 0, 0, 0x3e};
     },
     links, false, isSafe},
    {"modify-systemfile", "ModifySystemfile",
     [](const World& world) {
       return Array{fileIn(world), Data{'n'}, 1};
     },
     hardLink, false, isSafe},
    {"modify-hfsattr", "ModifyHfsattr",
     [](const World& world) {
       return Array{fileIn(world), 0x54595045, 0x43524541, 1};
     },
     files, false, recordsAreWhole},
    {"rename-fileobject (other volume)", "RenameFileobject",
     [](const World& world) {
       return Array{folderIn(world), world.path("volume/moved")};
     },
     folderLink | fileLink | folders | files, false, nothingIsLostOrMixed},
    {"rename-stashfolder", "RenameStashfolder",
     [](const World& world) {
       return Array{folderIn(world), "aside", 1};
     },
     oneLevelUp | folders, false, isSafe},
};

/// How not to do it: finds files by their paths and then changes what is at the paths.
void controlByPath(const World& world) {
  std::vector<std::string> paths;
  for (const auto& name : World::fileNames()) {
    struct stat status;
    const auto path = folderIn(world) + name;
    const bool isFile = lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    if (isFile && status.st_uid == user) paths.push_back(path);
  }
  for (const auto& path : paths) (void)!chown(path.c_str(), user, user);
}

struct Result {
  int exchanges = 0, lost = 0;
};

Result race(World& world, const Kind& kind, int rounds, unsigned seed, const Act& act,
            Check check) {
  Result result;
  Attacker attacker(world.path(std::string("user/") + kind.first),
                    world.path(std::string("user/") + kind.second), seed);
  for (int round = 0; round < rounds; ++round) {
    world.makeTree();
    attacker.duringRound(act);
    const bool isKept = world.isPreciousAsBefore() && check(world);
    result.lost += !isKept;
    if (!world.isPreciousAsBefore()) world.makePreciousAgain();
  }
  result.exchanges = attacker.exchanges();
  return result;
}

void print(const char* operation, const Kind& kind, int rounds, const Result& result) {
  std::printf("%-34s %-20s %7d rounds %7d exchanges %6d lost\n", operation, kind.name, rounds,
              result.exchanges, result.lost);
  std::fflush(stdout);
}

int run(int rounds, unsigned seed, const std::string& only) {
  const NativePlatform native;
  const auto& platform = native.facilities();
  HandlerTable handlers;
  registerFileSystemHandlers(handlers);
  World world(platform);
  int lostByControl = 0, lost = 0;
  for (int attempt = 0; lostByControl == 0 && attempt < controlAttempts; ++attempt) {
    for (const auto& kind : kinds) {
      if ((1u << (&kind - kinds) & links) == 0) continue;
      world.makePrecious(false);
      const auto result = race(
          world, kind, rounds, seed++, [&] { controlByPath(world); }, isSafe);
      print("control by path", kind, rounds, result);
      lostByControl += result.lost;
    }
  }
  for (const auto& operation : operations) {
    if (!only.empty() && std::string(operation.name).rfind(only, 0) != 0) continue;
    for (const auto& kind : kinds) {
      if ((1u << (&kind - kinds) & operation.kinds) == 0) continue;
      world.makePrecious(operation.areFlagged);
      const auto name = std::string("performOperation") + operation.stem + "WithArguments:";
      const auto* handler = handlers.find(name);
      if (!handler) handler = handlers.find(name + "feedbackConnection:");
      const auto arguments = operation.arguments(world);
      const auto result = race(
          world, kind, rounds, seed++, [&] { (void)(*handler)(platform, arguments, nullptr); },
          operation.check);
      print(operation.name, kind, rounds, result);
      lost += result.lost;
    }
  }
  std::printf("lost by the control: %d, by operations: %d\n", lostByControl, lost);
  return lost == 0 && lostByControl > 0 ? 0 : 1;
}

}  // namespace
}  // namespace qrt

int main(int argc, char** argv) {
  int rounds = 300;
  unsigned seed = std::random_device()();
  std::string only;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--rounds") rounds = std::atoi(argv[i + 1]);
    if (option == "--seed") seed = static_cast<unsigned>(std::atoi(argv[i + 1]));
    if (option == "--operation") only = argv[i + 1];
  }
  // Mounts of a mount namespace of its own go with the process.
  if (geteuid() != 0 || unshare(CLONE_NEWNS) != 0 ||
      mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    std::printf("needs root\n");
    return 77;
  }
  std::printf("seed %u\n", seed);
  return qrt::run(rounds, seed, only);
}
