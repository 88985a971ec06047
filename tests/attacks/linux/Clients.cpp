// What an ordinary local user can try against the daemon. Needs root: the attackers become another
// user. Prints figures, and ends with 1 when one of them is over its limit.
//
//   attack_clients ATTACK [ROUNDS]
//
// A round of half-sent or dialogs is a second.
#include <dirent.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "integration/linux/RawClient.h"
#include "support/DaemonProcess.h"

namespace qrt {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test::DaemonProcess;
using test::RawClient;

constexpr uid_t firstAttacker = 12345;

/// Prints what was measured and remembers whether all of it was within its limits.
class Figures {
 public:
  void atMost(const char* what, double value, double limit, const char* unit) {
    const bool isKept = value <= limit;
    std::printf("%-50s %10.1f %s (at most %.1f)%s\n", what, value, unit, limit,
                isKept ? "" : " FAILED");
    areKept_ &= isKept;
  }
  bool areKept() const { return areKept_; }

 private:
  bool areKept_ = true;
};

/// Processes of other users, which this kills at its end.
class Attackers {
 public:
  void add(uid_t user, const std::function<void()>& act) {
    const pid_t child = fork();
    if (child == 0) {
      if (setgid(user) == 0 && setuid(user) == 0) act();
      _exit(1);
    }
    processes_.push_back(child);
  }
  /// Waits for their own end.
  void join() {
    for (const auto process : processes_) waitpid(process, nullptr, 0);
    processes_.clear();
  }
  ~Attackers() {
    for (const auto process : processes_) kill(process, SIGKILL);
    join();
  }

 private:
  std::vector<pid_t> processes_;
};

/// Whether the daemon serves the client; else it closes the connection before the handshake.
bool isServed(RawClient& client) {
  return client.send(RawClient::handshakeBytes()) && client.receiveHandshake();
}

RawClient client(const DaemonProcess& daemon) {
  RawClient client(daemon.socketPath());
  (void)isServed(client);
  return client;
}

int openDescriptors(pid_t process) {
  int count = 0;
  DIR* folder = opendir(("/proc/" + std::to_string(process) + "/fd").c_str());
  while (folder && readdir(folder)) ++count;
  if (folder) closedir(folder);
  return count;
}

/// The number after connections that have ended are closed.
int settledDescriptors(pid_t process, int wanted) {
  int count = openDescriptors(process);
  for (int i = 0; i < 500 && count > wanted; ++i) {
    std::this_thread::sleep_for(10ms);
    count = openDescriptors(process);
  }
  return count;
}

// Messages with descriptors.

struct MessageWithDescriptors {
  bool isGood;
  Data bytes;
  std::vector<int> descriptors;

  /// The kernel takes up to 253 with one message.
  explicit MessageWithDescriptors(int round)
      : descriptors(static_cast<std::size_t>(round % 254), STDERR_FILENO) {
    enum { valid, invalidHeader, wrongCount };
    const int kind = round % 3;
    constexpr std::size_t mostInAMessage = 64;
    isGood = kind == valid && descriptors.size() <= mostInAMessage;
    bytes = RawClient::methodCall(kind == invalidHeader ? "no member" : "getVersionString", "", {},
                                  descriptors.size() + (kind == wrongCount ? 1 : 0));
  }
};

/// Each may have cost half a minute.
constexpr int enough = 3;

/// Returns how many of the messages were not answered as they should be.
int sendToTheDaemon(const DaemonProcess& daemon, int rounds) {
  int wrong = 0;
  for (int round = 0; round < rounds && wrong < enough; ++round) {
    const MessageWithDescriptors message(round);
    auto peer = client(daemon);
    peer.send(message.bytes, message.descriptors);
    wrong += message.isGood ? !peer.receiveReply() : !peer.isClosedByPeer();
  }
  return wrong;
}

void sendDescriptors(int wantedRounds, Figures& figures) {
  const DaemonProcess daemon;
  { const auto first = client(daemon); }
  const int rounds = wantedRounds > 0 ? wantedRounds : 600;
  std::this_thread::sleep_for(100ms);
  const int before = openDescriptors(daemon.processID());
  figures.atMost("messages not answered as they should be", sendToTheDaemon(daemon, rounds), 0, "");
  figures.atMost("descriptors left in the daemon",
                 settledDescriptors(daemon.processID(), before) - before, 0, "");
}

// Connections in a loop.

struct Delays {
  double median;
  double worstOfHundred;
  int unanswered = 0;
};

/// How long it takes root to connect and to learn the version, in milliseconds.
Delays connectAndAsk(const DaemonProcess& daemon, int rounds) {
  std::vector<double> delays;
  int unanswered = 0;
  for (int round = 0; round < rounds; ++round) {
    const auto begun = Clock::now();
    unanswered += !client(daemon).call("getVersionString");
    delays.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begun).count());
    std::this_thread::sleep_for(1ms);
  }
  std::sort(delays.begin(), delays.end());
  return {delays[delays.size() / 2], delays[delays.size() * 99 / 100], unanswered};
}

/// Keeps the newest connections open and closes the others.
void connectForEver(const std::string& path, std::size_t kept) {
  std::vector<FileDescriptor> open(kept);
  sockaddr_un name{AF_UNIX, {}};
  path.copy(name.sun_path, sizeof name.sun_path - 1);
  for (std::size_t i = 0;; i = (i + 1) % kept) {
    open[i].reset(::socket(AF_UNIX, SOCK_STREAM, 0));
    connect(open[i].get(), reinterpret_cast<sockaddr*>(&name), sizeof name);
  }
}

/// The places of other processes of the user become free a moment after their end.
void holdConnections(const DaemonProcess& daemon, std::size_t count) {
  std::vector<RawClient> held;
  while (held.size() < count) {
    RawClient next(daemon.socketPath());
    if (isServed(next)) {
      held.push_back(std::move(next));
    } else {
      std::this_thread::sleep_for(20ms);
    }
  }
  pause();
}

void connectUntilRefused(const DaemonProcess& daemon) {
  for (bool isRefused = false; !isRefused;) {
    RawClient next(daemon.socketPath());
    isRefused = !isServed(next);
  }
}

/// Returns how many system calls the daemon makes for a connection that it refuses.
double callsOfARefusal(const DaemonProcess& daemon) {
  constexpr int refusals = 200;
  const auto trace = daemon.folder() + "/trace";
  const auto process = std::to_string(daemon.processID());
  Attackers attackers;
  attackers.add(firstAttacker, [&] { holdConnections(daemon, 64); });
  Attackers probe;
  std::this_thread::sleep_for(500ms);
  probe.add(firstAttacker, [&] { connectUntilRefused(daemon); });
  probe.join();
  const pid_t strace = fork();
  if (strace == 0) {
    execlp("strace", "strace", "-qq", "-o", trace.c_str(), "-p", process.c_str(), nullptr);
    _exit(127);
  }
  std::this_thread::sleep_for(500ms);
  Attackers refused;
  refused.add(firstAttacker, [&] {
    for (int i = 0; i < refusals; ++i) (void)client(daemon);
  });
  refused.join();
  kill(strace, SIGTERM);
  waitpid(strace, nullptr, 0);
  std::ifstream lines(trace);
  const auto calls = std::count(std::istreambuf_iterator<char>(lines), {}, '\n');
  return static_cast<double>(calls) / refusals;
}

void connectInALoop(int wantedRounds, Figures& figures) {
  const DaemonProcess daemon;
  const int rounds = wantedRounds > 0 ? wantedRounds : 300;
  const auto measure = [&](const char* what, const std::function<void()>& act) {
    Attackers attackers;
    for (int i = 0; i < 2; ++i) attackers.add(firstAttacker, act);
    std::this_thread::sleep_for(300ms);
    const auto delays = connectAndAsk(daemon, rounds);
    std::printf("%-38s median %8.2f ms, 99 %% %8.2f ms\n", what, delays.median,
                delays.worstOfHundred);
    figures.atMost("  unanswered", delays.unanswered, 0, "");
    return delays.worstOfHundred;
  };
  // Other work on the machine delays some measurements, but not three in a row.
  const auto compare = [&](const char* what, const std::function<void()>& act) {
    constexpr double allowed = 50;
    double delay = 2 * allowed;
    for (int attempt = 0; attempt < 3 && delay > allowed; ++attempt) {
      const auto control = measure("two busy loops", [] {
        for (volatile bool isBusy = true; isBusy;) continue;
      });
      delay = measure(what, act) - control;
    }
    figures.atMost("  above the control", delay, allowed, "ms");
  };
  for (const std::size_t kept : {1, 100, 400}) {
    const auto what = "two loops that keep " + std::to_string(kept) + " open";
    compare(what.c_str(), [&] { connectForEver(daemon.socketPath(), kept); });
  }
  figures.atMost("system calls for a refusal", callsOfARefusal(daemon), 6, "");
  Attackers holders;
  for (uid_t user = firstAttacker; user < firstAttacker + 9; ++user) {
    holders.add(user, [&] { holdConnections(daemon, 64); });
  }
  std::this_thread::sleep_for(500ms);
  compare("nine users hold 64 each", [] { pause(); });
}

// Large messages.

constexpr std::uint64_t nop = 9998;
constexpr std::size_t mebibyte = 1 << 20;

/// Calls `sample` every other millisecond until it is destroyed.
class Sampler {
 public:
  explicit Sampler(std::function<void()> sample)
      : thread_([this, sample = std::move(sample)] {
          for (; !isOver_; std::this_thread::sleep_for(2ms)) sample();
        }) {}
  ~Sampler() {
    isOver_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> isOver_ = false;
  std::thread thread_;
};

/// The largest growth of the daemon's memory while `act` runs, in MiB.
double growthDuring(const DaemonProcess& daemon, const std::function<void()>& act) {
  const auto before = daemon.memory();
  long most = before;
  {
    const Sampler sampler([&] { most = std::max(most, daemon.memory()); });
    act();
  }
  return static_cast<double>(most - before) / 1024;
}

/// A request with that many values, of `size` bytes each, from the process whose form it is.
Data requestWith(int values, std::size_t size, const Data& form = Data(32)) {
  const std::string text(size, 'x');
  return RawClient::methodCall("performPrivilegedOperation", "tayahav",
                               RawClient::request(nop, form, 0, [&](test::WireBytes& bytes) {
                                 for (int i = 0; i < values; ++i) bytes.signature("s").string(text);
                               }));
}

/// Sends everything but the last byte over 64 connections, as far as it is taken.
void sendAllButTheEnd(const DaemonProcess& daemon) {
  auto message = requestWith(1, 16 * mebibyte - 4096);
  message.pop_back();
  std::vector<std::thread> threads;
  for (int i = 0; i < 64; ++i) {
    threads.emplace_back([&] {
      const auto peer = client(daemon);
      for (std::size_t sent = 0; sent < message.size();) {
        const auto count =
            ::send(peer.socket(), message.data() + sent, message.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) return;
        sent += static_cast<std::size_t>(count);
      }
      pause();
    });
  }
  for (auto& thread : threads) thread.join();
}

/// Sends a byte a second. Returns how many seconds the connection lives.
double drip(const DaemonProcess& daemon) {
  const auto message = requestWith(2, 64 << 10);
  auto peer = client(daemon);
  peer.send(Data(message.begin(), message.begin() + 1000));
  const auto begun = Clock::now();
  for (std::size_t sent = 1000; sent < 1060; ++sent) {
    pollfd end{peer.socket(), POLLIN, 0};
    if (poll(&end, 1, 1'000) == 1 || !peer.send(Data{message[sent]})) break;
  }
  return std::chrono::duration<double>(Clock::now() - begun).count();
}

void sendHalf(int wantedRounds, Figures& figures) {
  const DaemonProcess daemon;
  client(daemon).call("getVersionString");
  const auto seconds = std::chrono::seconds(wantedRounds > 0 ? wantedRounds : 3);
  const auto growth = growthDuring(daemon, [&] {
    Attackers attackers;
    attackers.add(firstAttacker, [&] { sendAllButTheEnd(daemon); });
    std::this_thread::sleep_for(seconds);
  });
  figures.atMost("memory for 64 messages without their end", growth, 24, "MiB");
  constexpr double deadline = 11;  // For less than a mebibyte.
  figures.atMost("life of a connection that drips", drip(daemon), deadline + 2, "s");
}

void takeTurns(int wantedRounds, Figures& figures) {
  const DaemonProcess daemon;
  constexpr int requests = 60;
  Attackers attackers;
  attackers.add(firstAttacker, [&] {
    const auto message = requestWith(900'000, 5);
    std::vector<std::thread> threads;
    for (int i = 0; i < requests; ++i) {
      threads.emplace_back([&] {
        auto peer = client(daemon);
        while (peer.send(message) && peer.receiveReply()) continue;
      });
    }
    for (auto& thread : threads) thread.join();
  });
  std::this_thread::sleep_for(2s);
  const auto message = requestWith(20, mebibyte / 10);
  double worst = 0;
  for (int round = 0; round < std::max(wantedRounds, 5); ++round) {
    auto root = client(daemon);
    const auto begun = Clock::now();
    if (!root.send(message) || !root.receiveReply()) std::fprintf(stderr, "no answer\n");
    worst = std::max(worst, std::chrono::duration<double>(Clock::now() - begun).count());
  }
  figures.atMost("root's call of 2 MiB beside 60 of one user", worst, 0.5, "s");
}

/// Sends 64 requests and waits. Of each kind one is the largest: all values are small arguments,
/// or all are metadata.
void sendRequestsForDialogs(const DaemonProcess& daemon) {
  const auto write = [](test::WireBytes& bytes, bool isMetadata) {
    constexpr int values = 999'000;
    if (!isMetadata) {
      for (int i = 0; i < values; ++i) bytes.signature("y").byte(0);
      return;
    }
    bytes.signature("s").string("!QRTMETA!").signature("a{sv}").array(8, [](auto& entries) {
      for (int i = 0; i < values; ++i) entries.align(8).string("").signature("y").byte(0);
    });
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 64; ++i) {
    threads.emplace_back([&daemon, &write, isMetadata = i % 8 == 7] {
      auto peer = client(daemon);
      peer.send(RawClient::methodCall(
          "performPrivilegedOperation", "tayahav",
          RawClient::request(nop, Data(32), 0, [&](auto& bytes) { write(bytes, isMetadata); })));
      peer.receiveReply();
    });
  }
  for (auto& thread : threads) thread.join();
}

void askForDialogs(int wantedRounds, Figures& figures) {
  const DaemonProcess daemon("", "undecided_daemon");
  client(daemon).call("getVersionString");
  const auto seconds = std::chrono::seconds(wantedRounds > 0 ? wantedRounds : 5);
  const auto growth = growthDuring(daemon, [&] {
    Attackers attackers;
    attackers.add(firstAttacker, [&] { sendRequestsForDialogs(daemon); });
    std::this_thread::sleep_for(seconds);
  });
  figures.atMost("memory for 64 requests behind dialogs", growth, 64, "MiB");
  figures.atMost("root's calls that are not answered",
                 client(daemon).call("getVersionString") ? 0 : 1, 0, "");
}

struct Attack {
  const char* name;
  void (*run)(int rounds, Figures&);
};

constexpr Attack attacks[] = {{"descriptors", sendDescriptors},
                              {"connects", connectInALoop},
                              {"half-sent", sendHalf},
                              {"turns", takeTurns},
                              {"dialogs", askForDialogs}};

int runAttack(int count, char** words) {
  const std::string name = count > 1 ? words[1] : "";
  const auto* const attack = std::find_if(std::begin(attacks), std::end(attacks),
                                          [&](const Attack& each) { return name == each.name; });
  if (attack == std::end(attacks)) {
    std::fprintf(stderr, "usage: attack_clients ATTACK [ROUNDS]\nattacks:");
    for (const auto& each : attacks) std::fprintf(stderr, " %s", each.name);
    std::fprintf(stderr, "\n");
    return 2;
  }
  Figures figures;
  attack->run(count > 2 ? std::atoi(words[2]) : 0, figures);
  return figures.areKept() ? 0 : 1;
}

}  // namespace
}  // namespace qrt

int main(int count, char** words) {
  setvbuf(stdout, nullptr, _IOLBF, 0);
  return qrt::runAttack(count, words);
}
