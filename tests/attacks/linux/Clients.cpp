// What ordinary local users can try against the daemon. Needs root: the attackers become other
// users. Prints figures, and ends with 1 when one of them is over its limit.
//
//   attack_clients ATTACK|endings|all [SECONDS [SEED]]
//
// "all" is each attack but "places" at once, each by a user of its own. Attacks and as many busy
// loops take turns; two polite clients call beside both, and their delays are compared. "endings",
// at last, ends the daemon in the middle of operations.
#include <grp.h>
#include <sys/prctl.h>

#include <algorithm>
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
  const auto strace = printed("strace -qq -o " + trace + " -p " +
                              std::to_string(look.daemon.processID()) + " >/dev/null & echo $!");
  std::this_thread::sleep_for(500ms);
  Crowd refused(look.scene);
  refused.add("refused", look.user);
  refused.join();
  printed("kill " + strace + "tail -f -s 0.1 /dev/null --pid " + strace);
  const auto count = [&](const char* lines) {
    return std::atof(printed("grep -c '" + std::string(lines) + "' " + trace).c_str());
  };
  // Those who hold the places also try again.
  const double refusals = count("^accept4"), calls = count("");
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

/// Plays some attacks at once, each by users of its own.
class Measurement {
 public:
  Measurement(std::vector<Attack> chosen, double seconds, unsigned seed)
      : chosen_(std::move(chosen)),
        seconds_(seconds),
        person_(userOf("screen")),
        scene_{daemon_.socketPath(), seed, Scene::makeNotes()} {
    registration("registerClientWithPID", 1);
    Delays ignored;
    play(1, "busy", ignored);  // The daemon loads what it needs once.
  }

  void takeFigures(Figures& figures) {
    const auto count = [this](const char* what) {
      return [this, what] { return daemon_.entries(what); };
    };
    const int descriptors = count("fd")(), threads = count("task")();
    const auto memory = mostMemory_ = daemon_.memory();
    // Other work on the machine delays the control as well: they take turns.
    const int turns = isWhole() ? std::max(1, static_cast<int>(seconds_ / secondsOfTurn)) : 1;
    for (int turn = 1; turn <= turns; ++turn) {
      if (isWhole()) play(secondsOfTurn / 3, "busy", besideBusyLoops_);
      play(seconds_ / turns, nullptr, besideAttacks_, turn == turns ? &figures : nullptr);
    }
    judge(memory, figures);
    figures.atMost("descriptors left in the daemon", settledGrowth(descriptors, count("fd")), 0);
    figures.atMost("threads left in the daemon", settledGrowth(threads, count("task")), 0);
    for (const int client : {floodedClient, 1}) registration("unregisterClientWithPID", client);
    figures.atMost("daemons that did not end well", daemon_.waitForEnd() != 0, 0);
  }

 private:
#ifdef QRT_SANITIZED
  static constexpr double mostAbove = 1e9, longestLargeCall = 1e9;
#else
  static constexpr double mostAbove = 50, longestLargeCall = 0.5;
#endif
  /// A connection that drips lives for 11 s.
  static constexpr double secondsOfTurn = 14;
  /// Of calls, in milliseconds.
  using Delays = std::vector<float>;

  bool isWhole() const { return chosen_.size() > 1; }
  uid_t userOf(const std::string& name) const {
    const auto found = std::find_if(chosen_.begin(), chosen_.end(),
                                    [&](const Attack& attack) { return name == attack.name; });
    return firstAttacker + static_cast<uid_t>(found - chosen_.begin());
  }
  void registration(const char* method, int client) {
    client_.call(method, "i", WireBytes().u32(static_cast<unsigned>(client)).bytes());
  }

  /// What one in a hundred exceeds.
  static double worstOfHundred(Delays delays) {
    if (delays.empty()) return 1e9;
    std::sort(delays.begin(), delays.end());
    return delays[delays.size() * 99 / 100];
  }

  /// Each attacker plays its own act or `instead`, beside the polite clients, whose delays are
  /// added to `delays`. `figures` are those of the single attacks.
  void play(double seconds, const char* instead, Delays& delays, Figures* figures = nullptr) {
    auto& notes = scene_.notes;
    notes.isOver = false;
    for (auto* calls : {&notes.ofRoot, &notes.ofUser}) calls->count = 0;
    Crowd polite(scene_), ending(scene_), lasting(scene_);
    std::vector<pid_t> attackers;
    for (const auto& attack : chosen_) {
      auto& crowd = attack.ends && !instead ? ending : lasting;
      for (int i = 0; i < attack.users; ++i) {
        crowd.add(instead ? instead : attack.name, userOf(attack.name) + static_cast<uid_t>(i));
      }
      attackers.push_back(crowd.latest());
    }
    polite.add("polite", 0);
    if (!instead) polite.add("much", 0);
    const bool hasPlaces = chosen_.front().users == 1;
    if (hasPlaces) polite.add("polite", politeUser);
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    for (; Clock::now() < end; std::this_thread::sleep_for(10ms)) {
      mostMemory_ = std::max(mostMemory_, daemon_.memory());
    }
    notes.isOver = true;
    polite.join();
    ending.join();
    for (const auto* calls : {&notes.ofRoot, &notes.ofUser}) {
      const auto* const begin = calls->milliseconds.data();
      delays.insert(delays.end(), begin, begin + calls->count);
    }
    for (std::size_t i = 0; figures && i < chosen_.size(); ++i) {
      const auto user = userOf(chosen_[i].name);
      chosen_[i].judge({scene_, daemon_, journal_, person_, user, attackers[i]}, *figures);
    }
  }

  void judge(long memory, Figures& figures) const {
    const auto& notes = scene_.notes;
    double allowed = 0;
    for (const auto& each : chosen_) allowed += each.memory;
    figures.atMost("growth of the daemon's memory, MiB",
                   static_cast<double>(mostMemory_ - memory) / 1024, allowed);
    figures.atMost("root's call of 2 MiB, s", notes.longestLargeCall, longestLargeCall);
    const std::chrono::duration<double> lived = Clock::now() - begun_;
    figures.atMost("lines of one user in the log", static_cast<double>(journal_.mostLines()),
                   1000 + 100 * (lived.count() + 1));
    figures.atMost("answers that are not as they should be",
                   static_cast<double>(notes.wrongAnswers), 0);
    figures.atMost("players that hang", static_cast<double>(notes.hung), 0);
    figures.atMost("polite calls that were lost", notes.ofRoot.lost + notes.ofUser.lost, 0);
    if (!isWhole()) return;
    const auto control = worstOfHundred(besideBusyLoops_);
    std::fprintf(stderr, "99 %% of the polite calls beside busy loops: %.1f ms\n", control);
    figures.atMost("polite calls, 99 % above the control, ms",
                   worstOfHundred(besideAttacks_) - control, mostAbove);
  }

  const std::vector<Attack> chosen_;
  const double seconds_;
  const Clock::time_point begun_ = Clock::now();
  const Journal journal_;
  const Person person_;
  DaemonProcess daemon_{endsWithItsParent};
  const Scene scene_;
  RawClient client_ = connectedClient(daemon_.socketPath());
  long mostMemory_ = 0;
  Delays besideBusyLoops_, besideAttacks_;
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
