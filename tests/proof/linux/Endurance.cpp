// Many requests, many clients and many lives of the daemon. Needs root.
//
//   prove_endurance SEED REQUESTS CLIENTS ENDINGS

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>

#include "support/ActivatedDaemon.h"
#include "support/Application.h"
#include "support/Figures.h"
#include "support/ScratchFolder.h"

namespace qrt::test {
namespace {

/// A closing feedback waits 250 ms, so that many connections are needed.
constexpr int connections = 24;

/// A text that begins with "/" is a path below the folder of the client.
struct Request {
  const char* identifier;
  Array arguments;
  std::int64_t code = 0;
  /// Of the answer; -1 if the operation has no answer.
  std::int64_t answer = -1;
  bool hasFeedback = false;
};

/// Each series leaves the folder as it was.
const std::vector<Request> series[] = {
    {{"search-patterns", {"/tree", "0", "1", "1"}, 0, -1, true},
     {"delete-foldercontents", {"/empty"}, 0, -1, true}},
    {{"nop", {}}, {"nop", {"superfluous"}, 22}, {"discard-auth", {}}},
    {{"inspect-fileobject", {"/file"}, 0, 2}, {"inspect-fileobject", {"/missing"}, 0, 0}},
    {{"inspect-storagesize", {"/tree/flat"}, 0, 0}, {"touch-fileobject", {"/missing"}, 2}},
    {{"create-fileobject", {"/new", "D"}}, {"delete-fileobjects", {"1", "1", "/new"}}},
    {{"rename-fileobject", {"/file", "/other"}}, {"rename-fileobject", {"/other", "/file"}}},
    {{"modify-systemfile", {"/file", Data(5000, 'x'), true}}},
    {{"create-link", {"/link", "/file", false}}, {"delete-files", {"/link"}}},
    {{"modify-protection", {"/tree", true, true, true}},
     {"modify-protection", {"/tree", false, true, true}}},
    {{"execute-utility", {"endurance", "chmod", "u+r", "/file"}}},
    {{"nop", {std::string(200'000, 'x')}, 22}}};

class Client {
 public:
  Client(const Application& application, const std::string& address, int number, unsigned seed)
      : random_(seed + static_cast<unsigned>(number)), scratch_("/dev/shm") {
    scratch_.make("mkdir tree tree/flat empty; touch file tree/1 tree/2");
    if (auto made = application.connect(address, number)) requestor_ = std::move(*made);
  }

  /// One request in a hundred has feedback. Returns how many there were.
  long perform(std::atomic<long>& errors) {
    const bool hasFeedback = random_() % 50 == 0;
    const auto& chosen = series[hasFeedback ? 0 : 1 + random_() % (std::size(series) - 1)];
    for (const auto& request : chosen) errors += !isRight(request);
    return static_cast<long>(chosen.size());
  }

 private:
  bool isRight(const Request& request) {
    int messages = 0;
    const FeedbackHandler count = [&](const Dictionary&) { ++messages; };
    const auto outcome =
        requestor_->perform(request.identifier, below(scratch_.path(), request.arguments), {},
                            request.hasFeedback ? count : nullptr);
    std::int64_t answer = -1;
    if (outcome && outcome->code == 0)
      answer = outcome->userInfo.begin()->second.number()->asInt64();
    const bool isRight = codeOf(outcome) == request.code && answer == request.answer &&
                         (messages >= 2) == request.hasFeedback;
    if (!isRight) {
      std::fprintf(stderr, "%s: %s, answer %lld, %d messages\n", request.identifier,
                   outcome ? descriptionOf(*outcome).c_str() : "done",
                   static_cast<long long>(answer), messages);
    }
    return isRight;
  }

  std::mt19937 random_;
  const ScratchFolder scratch_;
  std::unique_ptr<Requestor> requestor_;
};

/// Does some work as one of several clients at once and returns how many requests it made.
using Work = std::function<long(int client, std::atomic<long>& errors)>;

/// One daemon over a long time.
class LongLife {
 public:
  void judge(const std::string& what, long amount, int clients, const Work& work,
             Figures& figures) {
    // The C library keeps what each thread may need again, and finds more of it ever more rarely.
    run(std::max(amount, 500L * clients), clients, work);
    const auto memory = daemon.memory();
    const auto descriptors = daemon.entries("fd"), threads = daemon.entries("task");
    run(amount, clients, work);
    const auto atMost = [&](const char* measure, double value, double limit) {
      figures.atMost(what + ": " + measure, value, limit);
    };
    figures.atLeast(what, static_cast<double>(done_), static_cast<double>(amount));
    atMost("errors", static_cast<double>(errors_), 0);
    atMost("growth of memory, KiB", static_cast<double>(daemon.memory() - memory), mostGrowth);
    atMost("slope, KiB for a million", slope(), 1e6 * mostGrowth / static_cast<double>(amount));
    atMost("descriptors left", daemon.entries("fd") - descriptors, 0);
    atMost("threads left", daemon.entries("task") - threads, 0);
  }

  const DaemonProcess daemon{endsWithItsParent};

 private:
  static constexpr double mostGrowth = 256;

  void run(long amount, int clients, const Work& work) {
    done_ = 0;
    samples_.clear();
    std::vector<std::thread> running;
    for (int client = 0; client < clients; ++client) {
      running.emplace_back([&, client] {
        while (done_ < amount) done_ += work(client, errors_);
      });
    }
    while (done_ < amount) {
      samples_.emplace_back(static_cast<double>(done_), static_cast<double>(daemon.memory()));
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    for (auto& thread : running) thread.join();
    // The connections that have ended are closed.
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
  /// Of the line that fits the samples best.
  double slope() const {
    double n = 0, x = 0, y = 0, xx = 0, xy = 0;
    for (const auto& [done, memory] : samples_) {
      n += 1, x += done, y += memory, xx += done * done, xy += done * memory;
    }
    const double spread = n * xx - x * x;
    return spread > 0 ? 1e6 * (n * xy - x * y) / spread : 0;
  }

  std::atomic<long> done_ = 0, errors_ = 0;
  std::vector<std::pair<double, double>> samples_;
};

void judgeMixedRequests(const Application& application, unsigned seed, long requests,
                        Figures& figures) {
  LongLife life;
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < connections; ++i) {
    const auto address = life.daemon.socketPath();
    clients.push_back(std::make_unique<Client>(application, address, 100 + i, seed));
  }
  const Work work = [&](int i, std::atomic<long>& errors) {
    return clients[static_cast<std::size_t>(i)]->perform(errors);
  };
  life.judge("mixed requests", requests, connections, work, figures);
}

/// One registered client lets the daemon live on.
void judgeVisits(const Application& application, long visits, Figures& figures) {
  LongLife life;
  const auto address = life.daemon.socketPath();
  const auto first = application.connect(address, 1);
  const Work visit = [&](int i, std::atomic<long>& errors) {
    const auto client = application.connect(address, 100 + i);
    errors += !client || (*client)->perform("nop", {});
    return 1;
  };
  life.judge("clients that come, call and leave", visits, 4, visit, figures);
}

/// Two clients connect, call and leave, so that each meets a daemon that ends again and again.
void judgeEndings(const Application& application, long endings, Figures& figures) {
  const ActivatedDaemon daemon;
  std::atomic<long> errors = 0;
  const auto come = [&](int client) {
    while (daemon.ends() < endings) {
      auto requestor = application.connect(daemon.socketPath(), client);
      errors += !requestor || (*requestor)->perform("nop", {});
    }
  };
  std::thread other(come, 1);
  come(2);
  other.join();
  const std::string what = "endings by the last client";
  figures.atLeast(what, static_cast<double>(daemon.ends()), static_cast<double>(endings));
  figures.atMost(what + ": errors", static_cast<double>(errors), 0);
  figures.atMost(what + ": other than with 0", static_cast<double>(daemon.failures()), 0);
}

}  // namespace
}  // namespace qrt::test

int main(int count, char** words) {
  if (count != 5) {
    std::fprintf(stderr, "usage: prove_endurance SEED REQUESTS CLIENTS ENDINGS\n");
    return 2;
  }
  using namespace qrt::test;
  const Application application;
  Figures figures;
  judgeMixedRequests(application, static_cast<unsigned>(std::atoi(words[1])), std::atol(words[2]),
                     figures);
  judgeVisits(application, std::atol(words[3]), figures);
  judgeEndings(application, std::atol(words[4]), figures);
  return figures.areKept() ? 0 : 1;
}
