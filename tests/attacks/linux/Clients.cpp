// What ordinary local users can try against the daemon. Needs root: the attackers become other
// users. Prints figures, and ends with 1 when one of them is over its limit.
//
//   attack_clients ATTACK|endings|all [SECONDS [SEED]]
//
// "all" is each attack but "places" at once, each by a user of its own. Beside them two polite
// clients call, and the delays of their calls are compared with those beside busy loops. "endings",
// at last, ends the daemon in the middle of operations.
#include <grp.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>

#include "attacks/linux/Acts.h"
#include "attacks/linux/Endings.h"
#include "attacks/linux/SealedRun.h"
#include "support/DaemonProcess.h"
#include "support/Figures.h"
#include "support/ScratchFolder.h"

namespace qrt::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr uid_t firstAttacker = 12345, politeUser = 12300;

/// What a figure of one attack is taken from.
struct Look {
  const Scene& scene;
  const DaemonProcess& daemon;
  const Journal& journal;
  const Person& person;
  uid_t user;
  pid_t attacker;
};

struct Attack {
  const char* name;
  int users;
  /// In MiB, that the daemon may take for it.
  double memory;
  /// It ends by itself when the scene is over; others are killed.
  bool ends;
  /// The figures of its own, taken when it has ended, or still runs if it does not end.
  void (*judge)(const Look&, Figures&);
};

/// The descriptors or tasks of a process, without the handles of other processes: the daemon keeps
/// some, for the next requests of the same ones.
int entriesOf(pid_t process, const std::string& folder) {
  return std::atoi(printed("find /proc/" + std::to_string(process) + "/" + folder +
                           " -mindepth 1 -maxdepth 1 ! -lname '*pidfd*' 2>/dev/null | wc -l")
                       .c_str());
}

/// The growth of a number after connections that have ended are closed.
int settledGrowth(int before, const std::function<int()>& count) {
  for (int i = 0; i < 500 && count() > before; ++i) std::this_thread::sleep_for(10ms);
  return count() - before;
}

// The figures of one attack.

void judgeNothing(const Look&, Figures&) {}

void judgeDrip(const Look& look, Figures& figures) {
  constexpr double deadline = 11;  // For less than a mebibyte.
  figures.atMost("life of a connection that drips, s", look.scene.notes.longestDrip, deadline + 2);
}

void judgeScreen(const Look& look, Figures& figures) {
  figures.atLeast("dialogs that had their turn", static_cast<double>(look.scene.notes.dialogs), 64);
  figures.atMost("dialogs of a process at a time", static_cast<double>(look.person.mostOfProcess()),
                 1);
  figures.atMost("dialogs of a user at a time", static_cast<double>(look.person.mostOfUser()), 4);
}

void judgeLog(const Look& look, Figures& figures) {
  const auto line = "Beginning work for client " + std::to_string(floodedClient) + ".";
  const auto lost = [&] {
    return static_cast<int>(look.scene.notes.causedLines - look.journal.linesWith(line) -
                            look.journal.dropped(std::to_string(look.user)));
  };
  // What was dropped is reported a second later, with the next line.
  figures.atMost("lines that vanished uncounted",
                 settledGrowth(0,
                               [&] {
                                 (void)connectedClient(look.daemon.socketPath())
                                     .call("registerClientWithPID", "i",
                                           WireBytes().u32(1).bytes());
                                 return lost();
                               }),
                 0);
  const auto fields = look.journal.latestWith(line);
  char program[4096];
  const auto length = readlink("/proc/self/exe", program, sizeof program);
  const auto named = {"OBJECT_PID=" + std::to_string(look.attacker),
                      "QRT_CLIENT_EXE=" + std::string(program, static_cast<std::size_t>(length))};
  for (const auto& field : named) {
    figures.atLeast("lines with " + field.substr(0, field.find('=')),
                    fields.find("\n" + field + "\n") != std::string::npos, 1);
  }
}

/// The system calls that the daemon makes for a connection that it refuses.
void judgePlaces(const Look& look, Figures& figures) {
  const auto trace = look.daemon.folder() + "/trace";
  const auto process = std::to_string(look.daemon.processID());
  const pid_t strace = fork();
  if (strace == 0) {
    execlp("strace", "strace", "-qq", "-o", trace.c_str(), "-p", process.c_str(), nullptr);
    _exit(127);
  }
  std::this_thread::sleep_for(500ms);
  Crowd refused(look.scene);
  refused.add("refused", look.user);
  refused.join();
  kill(strace, SIGTERM);
  waitpid(strace, nullptr, 0);
  // Those who hold the places also try again.
  double calls = 0, refusals = 0;
  std::ifstream lines(trace);
  for (std::string line; std::getline(lines, line); ++calls)
    refusals += line.starts_with("accept4");
  figures.atLeast("connections that are refused", refusals, 200);
  figures.atMost("system calls for a refusal", calls / refusals, 4);
}

constexpr Attack attacks[] = {
    {"descriptors", 1, 8, true, judgeNothing}, {"connects", 1, 16, false, judgeNothing},
    {"half-sent", 1, 24, false, judgeNothing}, {"drip", 1, 8, true, judgeDrip},
    {"turns", 1, 24, false, judgeNothing},     {"dialogs", 1, 64, false, judgeNothing},
    {"screen", 1, 16, true, judgeScreen},      {"log", 1, 8, true, judgeLog},
    {"places", 9, 32, false, judgePlaces}};

// All figures together.

/// Calls `sample` again and again until it is destroyed.
class Sampler {
 public:
  Sampler(std::chrono::milliseconds pause, std::function<void()> sample)
      : thread_([this, pause, sample = std::move(sample)] {
          for (; !isOver_; std::this_thread::sleep_for(pause)) sample();
        }) {}
  ~Sampler() {
    isOver_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> isOver_ = false;
  std::thread thread_;
};

/// Plays some attacks at once, each by users of its own.
class Measurement {
 public:
  Measurement(std::vector<Attack> chosen, double seconds, unsigned seed)
      : chosen_(std::move(chosen)),
        seconds_(seconds),
        person_(userOf("screen")),
        scene_{daemon_.socketPath(), seed, Scene::makeNotes()} {
    registration("registerClientWithPID", 1);
    play(1, "busy");  // The daemon loads what it needs once.
  }

  void takeFigures(Figures& figures) {
    const auto count = [process = daemon_.processID()](const char* folder) {
      return [=] { return entriesOf(process, folder); };
    };
    const int descriptors = count("fd")(), threads = count("task")();
    double control = delayBesideBusyLoops();
    attack(figures);
    double above = worstOfHundred() - control;
    // Other work on the machine delays some measurements, but not three in a row.
    for (int attempt = 1; attempt < 3 && isWhole() && above > mostAbove; ++attempt) {
      control = delayBesideBusyLoops();
      play(seconds_, nullptr);
      above = worstOfHundred() - control;
    }
    figures.atMost("polite calls that were lost",
                   scene_.notes.ofRoot.lost + scene_.notes.ofUser.lost, 0);
    if (isWhole()) figures.atMost("polite calls, 99 % above the control, ms", above, mostAbove);
    figures.atMost("descriptors left in the daemon", settledGrowth(descriptors, count("fd")), 0);
    figures.atMost("threads left in the daemon", settledGrowth(threads, count("task")), 0);
    for (const int client : {floodedClient, 1}) registration("unregisterClientWithPID", client);
    figures.atMost("daemons that did not end well", daemon_.waitForEnd() != 0, 0);
  }

 private:
#ifdef QRT_SANITIZED
  static constexpr double mostAbove = 1e9;
#else
  static constexpr double mostAbove = 50;
#endif

  double delayBesideBusyLoops() {
    play(seconds_ / 3, "busy");
    return worstOfHundred();
  }
  bool isWhole() const { return chosen_.size() > 1; }
  uid_t userOf(const std::string& name) const {
    const auto found = std::find_if(chosen_.begin(), chosen_.end(),
                                    [&](const Attack& attack) { return name == attack.name; });
    return firstAttacker + static_cast<uid_t>(found - chosen_.begin());
  }
  void registration(const char* method, int client) {
    client_.call(method, "i", WireBytes().u32(static_cast<unsigned>(client)).bytes());
  }

  /// Of the calls of both polite clients, in milliseconds: what one in a hundred exceeds.
  double worstOfHundred() const {
    std::vector<float> delays;
    for (const auto* calls : {&scene_.notes.ofRoot, &scene_.notes.ofUser}) {
      const auto* const begin = calls->milliseconds.data();
      delays.insert(delays.end(), begin, begin + calls->count);
    }
    if (delays.empty()) return 1e9;
    std::sort(delays.begin(), delays.end());
    return delays[delays.size() * 99 / 100];
  }

  /// Each attacker plays its own act or `instead`, beside the polite clients. `judge` is called
  /// when the acts that end have ended.
  void play(
      double seconds, const char* instead, const std::function<void()>& judge = [] {}) {
    scene_.notes.isOver = false;
    for (auto* calls : {&scene_.notes.ofRoot, &scene_.notes.ofUser}) calls->count = 0;
    Crowd polite(scene_), ending(scene_), lasting(scene_);
    attackers_.clear();
    for (const auto& attack : chosen_) {
      auto& crowd = attack.ends && !instead ? ending : lasting;
      for (int i = 0; i < attack.users; ++i) {
        crowd.add(instead ? instead : attack.name, userOf(attack.name) + static_cast<uid_t>(i));
      }
      attackers_.push_back(crowd.latest());
    }
    polite.add("polite", 0);
    const bool hasPlaces = chosen_.front().users == 1;
    if (hasPlaces) polite.add("polite", politeUser);
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    scene_.notes.isOver = true;
    polite.join();
    ending.join();
    judge();
  }

  void attack(Figures& figures) {
    const auto before = daemon_.memory();
    auto most = before;
    double slowest = 0, allowed = 0;
    {
      const Sampler memory(10ms, [&] { most = std::max(most, daemon_.memory()); });
      const Sampler large(100ms, [&, message = requestWith(20, (1 << 20) / 10)] {
        if (scene_.notes.isOver) return;
        auto root = connectedClient(daemon_.socketPath());
        const auto begun = Clock::now();
        const bool isAnswered = root.send(message) && root.receiveReply();
        const std::chrono::duration<double> delay = Clock::now() - begun;
        slowest = std::max(slowest, isAnswered ? delay.count() : 1e9);
      });
      play(seconds_, nullptr, [&] {
        for (std::size_t i = 0; i < chosen_.size(); ++i) {
          chosen_[i].judge(
              {scene_, daemon_, journal_, person_, userOf(chosen_[i].name), attackers_[i]},
              figures);
        }
      });
    }
    for (const auto& each : chosen_) allowed += each.memory;
    figures.atMost("growth of the daemon's memory, MiB", static_cast<double>(most - before) / 1024,
                   allowed);
#ifndef QRT_SANITIZED
    figures.atMost("root's call of 2 MiB, s", slowest, 0.5);
#endif
    const std::chrono::duration<double> lived = Clock::now() - begun_;
    figures.atMost("lines of one user in the log", static_cast<double>(journal_.mostLines()),
                   1000 + 100 * (lived.count() + 1));
    figures.atMost("answers that are not as they should be",
                   static_cast<double>(scene_.notes.wrongAnswers), 0);
  }

  const std::vector<Attack> chosen_;
  const double seconds_;
  const Clock::time_point begun_ = Clock::now();
  const Journal journal_;
  const Person person_;
  DaemonProcess daemon_{endsWithItsParent};
  const Scene scene_;
  RawClient client_ = connectedClient(daemon_.socketPath());
  std::vector<pid_t> attackers_;
};

[[noreturn]] void playAct(char** words) {
  const auto user = static_cast<uid_t>(std::atoi(words[3]));
  const auto* const act = actNamed(words[2]);
  if (!act || setgroups(0, nullptr) != 0 || setgid(user) != 0 || setuid(user) != 0) _exit(2);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  act->play({words[5], static_cast<unsigned>(std::atoi(words[4])), Scene::openNotes()});
  _exit(0);
}

int judge(const std::string& name, double seconds, unsigned seed) {
  Figures figures;
  std::vector<Attack> chosen;
  for (const auto& attack : attacks) {
    if (attack.name == name || (name == "all" && attack.users == 1)) chosen.push_back(attack);
  }
  if (chosen.empty() && name != "endings") {
    std::fprintf(stderr, "usage: attack_clients all|endings");
    for (const auto& attack : attacks) std::fprintf(stderr, "|%s", attack.name);
    std::fprintf(stderr, " [SECONDS [SEED]]\n");
    return 2;
  }
  sealRun();
  if (!chosen.empty()) Measurement(chosen, seconds, seed).takeFigures(figures);
  if (name == "all") seconds /= 4;
  if (chosen.size() != 1) judgeEndings(seconds, seed, figures);
  return figures.areKept() ? 0 : 1;
}

}  // namespace
}  // namespace qrt::test

int main(int count, char** words) {
  using namespace qrt::test;
  const auto word = [&](int i, const char* otherwise) { return count > i ? words[i] : otherwise; };
  if (std::string(word(1, "")) == "--act" && count == 6) playAct(words);
  return judge(word(1, ""), std::atof(word(2, "3")),
               static_cast<unsigned>(std::atoi(word(3, "1"))));
}
