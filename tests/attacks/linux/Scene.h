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
  std::atomic<long> wrongAnswers, causedLines, dialogs, hung;
  /// In seconds.
  std::atomic<double> longestDrip, longestLargeCall;
  /// The latest round of aimed endings in which the victim has registered, the attacker has
  /// connected, the operation has begun, and the daemon has ended.
  std::atomic<int> registered, aimed, begun, ended;

  /// Waits for the other process. False when the scene is over, or after a minute.
  bool reaches(const std::atomic<int>& step, int round) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (step < round && !isOver && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    return step >= round && !isOver;
  }
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
    for (const auto& [player, act] : players_) kill(-player, SIGKILL);
    for (const auto& [player, act] : players_) waitpid(player, nullptr, 0);
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
    players_.emplace_back(player, act);
  }
  pid_t latest() const { return players_.back().first; }

  /// Waits until all have ended by themselves. Those that have not after a minute are reported.
  void join() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!players_.empty()) {
      const auto& [player, act] = players_.back();
      if (waitpid(player, nullptr, WNOHANG) != 0) {
        players_.pop_back();
      } else if (std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      } else {
        std::fprintf(stderr, "\"%s\" hangs\n", act);
        ++scene_.notes.hung;
        kill(-player, SIGKILL);
        waitpid(player, nullptr, 0);
        players_.pop_back();
      }
    }
  }

 private:
  const Scene& scene_;
  std::vector<std::pair<pid_t, const char*>> players_;
};

}  // namespace qrt::test
