// The processes of an attack, and the memory that they share.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace qrt::test {

/// The calls of one polite client.
struct PoliteCalls {
  std::atomic<std::uint32_t> count, lost;
  std::array<float, 1 << 22> milliseconds;
};

struct Notes {
  std::atomic<bool> isOver;
  PoliteCalls ofRoot, ofUser;
  /// What the attackers saw.
  std::atomic<long> wrongAnswers, causedLines, dialogs;
  std::atomic<double> longestDrip;
  /// The latest round of aimed endings in which the victim has registered, the attacker has
  /// connected, the operation has begun, and the daemon has ended.
  std::atomic<int> registered, aimed, begun, ended;
};

/// What an act needs, in whichever process it is played.
struct Scene {
  static constexpr int sharedDescriptor = 9;

  std::string socketPath;
  unsigned seed;
  Notes& notes;

  /// The memory is `sharedDescriptor` in every process.
  static Notes& openNotes() {
    return *static_cast<Notes*>(
        mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE, MAP_SHARED, sharedDescriptor, 0));
  }
  static Notes& makeNotes() {
    const int memory = memfd_create("notes", MFD_CLOEXEC);
    if (ftruncate(memory, sizeof(Notes)) != 0) std::abort();
    dup3(memory, sharedDescriptor, O_CLOEXEC);
    close(memory);
    return openNotes();
  }
};

/// Processes of this program that play acts as other users. The destructor kills those that have
/// not ended.
class Crowd {
 public:
  explicit Crowd(const Scene& scene) : scene_(scene) {}
  ~Crowd() {
    for (const auto player : players_) kill(-player, SIGKILL);
    for (const auto player : players_) waitpid(player, nullptr, 0);
  }
  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  void add(const char* act, uid_t user) {
    const auto name = std::to_string(user), seed = std::to_string(scene_.seed);
    const pid_t player = fork();
    if (player == 0) {
      setpgid(0, 0);
      fcntl(Scene::sharedDescriptor, F_SETFD, 0);
      execl("/proc/self/exe", "attack_clients", "--act", act, name.c_str(), seed.c_str(),
            scene_.socketPath.c_str(), nullptr);
      _exit(127);
    }
    setpgid(player, player);
    players_.push_back(player);
  }
  pid_t latest() const { return players_.back(); }

  /// Waits until all have ended by themselves.
  void join() {
    for (const auto player : players_) waitpid(player, nullptr, 0);
    players_.clear();
  }

 private:
  const Scene& scene_;
  std::vector<pid_t> players_;
};

}  // namespace qrt::test
