#include "attacks/linux/Acts.h"

#include <poll.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <random>

#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "platform/Platform.h"

namespace qrt::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

/// Whether the daemon serves the client; else it closes the connection before the handshake.
bool isServed(RawClient& client) {
  return client.send(RawClient::handshakeBytes()) && client.receiveHandshake();
}

void runThreads(int count, const std::function<void(int)>& act) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(act, i);
  for (auto& thread : threads) thread.join();
}

double secondsSince(Clock::time_point begun) {
  return std::chrono::duration<double>(Clock::now() - begun).count();
}

std::unique_ptr<HelperConnection> connect(const Scene& scene) {
  static const NativePlatform native;
  auto connection = native.facilities().helperConnector.connect(scene.socketPath);
  return connection ? std::move(*connection) : nullptr;
}

/// The form of this process. A busy daemon may need several tries.
Data externalForm(const Scene& scene) {
  for (;;) {
    const auto connection = connect(scene);
    const auto form = connection ? connection->createExternalForm() : Error();
    if (form) return *form;
  }
}

// The client that the others must not disturb, and the control.

void bePolite(const Scene& scene) {
  auto& calls = getuid() == 0 ? scene.notes.ofRoot : scene.notes.ofUser;
  const auto process = static_cast<std::int32_t>(getpid());
  while (!scene.notes.isOver && calls.count + 4 < calls.milliseconds.size()) {
    std::unique_ptr<HelperConnection> connection;
    const std::function<bool()> steps[] = {
        [&] { return (connection = connect(scene)) && connection->getVersionString(); },
        [&] { return !connection->registerClientWithPID(process); },
        [&] {
          const auto form = connection->createExternalForm();
          return form && !connection->performPrivilegedOperation(nop, *form, nullptr, {});
        },
        [&] { return !connection->unregisterClientWithPID(process); }};
    for (const auto& step : steps) {
      const auto begun = Clock::now();
      const bool isAnswered = step();
      calls.milliseconds[calls.count++] = static_cast<float>(1000 * secondsSince(begun));
      if (!isAnswered) {
        ++calls.lost;
        break;
      }
    }
    std::this_thread::sleep_for(1ms);
  }
}

void beBusy(const Scene&) {
  for (volatile bool isBusy = true; isBusy;) continue;
}

// Messages with descriptors.

/// The kernel takes up to 253 with one message, the daemon 64.
void sendDescriptors(const Scene& scene) {
  enum { valid, invalidHeader, wrongCount };
  for (unsigned round = scene.seed; !scene.notes.isOver; ++round) {
    const std::vector<int> descriptors(round % 254, STDERR_FILENO);
    const auto kind = round % 3;
    auto peer = connectedClient(scene.socketPath);
    peer.send(RawClient::methodCall(kind == invalidHeader ? "no member" : "getVersionString", "",
                                    {}, descriptors.size() + (kind == wrongCount ? 1 : 0)),
              descriptors);
    const bool isGood = kind == valid && descriptors.size() <= 64;
    scene.notes.wrongAnswers += isGood ? !peer.receiveReply() : !peer.isClosedByPeer();
  }
}

// Connections.

/// Two loops that keep their newest connections open: one, then a hundred, then four hundred.
void connectInALoop(const Scene& scene) {
  runThreads(2, [&](int) {
    sockaddr_un name{AF_UNIX, {}};
    scene.socketPath.copy(name.sun_path, sizeof name.sun_path - 1);
    for (std::size_t kept = 1;; kept = kept == 1 ? 100 : kept == 100 ? 400 : 1) {
      std::vector<FileDescriptor> open(kept);
      const auto begun = Clock::now();
      for (std::size_t i = 0; secondsSince(begun) < 1; i = (i + 1) % kept) {
        open[i].reset(::socket(AF_UNIX, SOCK_STREAM, 0));
        (void)connect(open[i].get(), reinterpret_cast<sockaddr*>(&name), sizeof name);
      }
    }
  });
}

/// The places of other processes of the user become free a moment after their end.
void holdConnections(const Scene& scene) {
  std::vector<RawClient> held;
  while (held.size() < 64) {
    RawClient next(scene.socketPath);
    if (isServed(next)) {
      held.push_back(std::move(next));
    } else {
      std::this_thread::sleep_for(20ms);
    }
  }
  pause();
}

void connectWhereNoPlaceIs(const Scene& scene) {
  for (int i = 0; i < 200; ++i) (void)connectedClient(scene.socketPath);
}

// Large messages.

/// A request with that many texts of `size` bytes each. Its form is no process's.
Data requestWith(int values, std::size_t size) {
  const std::string text(size, 'x');
  return RawClient::methodCall("performPrivilegedOperation", "tayahav",
                               RawClient::request(nop, Data(32), 0, [&](WireBytes& bytes) {
                                 for (int i = 0; i < values; ++i) bytes.signature("s").string(text);
                               }));
}

/// Calls with 2 MiB ten times a second.
void callWithMuch(const Scene& scene) {
  const auto message = requestWith(20, (1 << 20) / 10);
  for (auto& longest = scene.notes.longestLargeCall; !scene.notes.isOver;) {
    auto peer = connectedClient(scene.socketPath);
    const auto begun = Clock::now();
    const bool isAnswered = peer.send(message) && peer.receiveReply();
    longest = std::max(longest.load(), isAnswered ? secondsSince(begun) : 1e9);
    std::this_thread::sleep_for(100ms);
  }
}

/// Sends everything but the last byte over 64 connections, as far as it is taken.
void sendHalf(const Scene& scene) {
  auto message = requestWith(1, (16 << 20) - 4096);
  message.pop_back();
  runThreads(64, [&](int) {
    const auto peer = connectedClient(scene.socketPath);
    for (std::size_t sent = 0; sent < message.size();) {
      const auto count =
          ::send(peer.socket(), message.data() + sent, message.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) break;
      sent += static_cast<std::size_t>(count);
    }
    pause();
  });
}

/// Sends a byte a second for as long as the connection lives.
void drip(const Scene& scene) {
  const auto message = requestWith(2, 64 << 10);
  while (!scene.notes.isOver) {
    auto peer = connectedClient(scene.socketPath);
    peer.send(Data(message.begin(), message.begin() + 1000));
    const auto begun = Clock::now();
    for (std::size_t sent = 1000; !scene.notes.isOver; ++sent) {
      pollfd end{peer.socket(), POLLIN, 0};
      if (poll(&end, 1, 1'000) == 1 || !peer.send(Data{message[sent]})) break;
    }
    auto& longest = scene.notes.longestDrip;
    longest = std::max(longest.load(), secondsSince(begun));
  }
}

void sendLargeMessages(const Scene& scene) {
  const auto message = requestWith(900'000, 5);
  runThreads(60, [&](int) {
    while (!scene.notes.isOver) {
      auto peer = connectedClient(scene.socketPath);
      while (peer.send(message) && peer.receiveReply()) continue;
    }
  });
}

// Requests that need a dialog.

template <class Write>
Data requestForADialog(const Data& form, Write write) {
  return RawClient::methodCall("performPrivilegedOperation", "tayahav",
                               RawClient::request(touchFileobject, form, 0, write));
}

/// Sends 64 requests and waits. Of each kind one is the largest: all values are small arguments,
/// or all are metadata.
void fillMemoryAtDialogs(const Scene& scene) {
  constexpr int values = 999'000;
  const auto form = externalForm(scene);
  runThreads(64, [&](int i) {
    auto peer = connectedClient(scene.socketPath);
    peer.send(requestForADialog(form, [&](WireBytes& bytes) {
      if (i % 8 != 7) {
        for (int value = 0; value < values; ++value) bytes.signature("y").byte(0);
        return;
      }
      bytes.signature("s").string("!QRTMETA!").signature("a{sv}").array(8, [&](auto& entries) {
        for (int entry = 0; entry < values; ++entry) {
          entries.align(8).string("").signature("y").byte(0);
        }
      });
    }));
    peer.receiveReply();
    pause();
  });
}

/// Sixteen processes ask for four dialogs each, and again when all were dismissed.
void coverTheScreen(const Scene& scene) {
  std::vector<pid_t> askers(16);
  for (auto& asker : askers) {
    asker = fork();
    if (asker != 0) continue;
    const auto form = externalForm(scene);
    const auto request = requestForADialog(
        form, [](WireBytes& bytes) { bytes.signature("s").string("/nonexistent"); });
    const auto dismissed = std::pair<std::string, std::int64_t>("NSPOSIXErrorDomain", 89);
    std::vector<RawClient> peers;
    for (int i = 0; i < 4; ++i) peers.push_back(connectedClient(scene.socketPath));
    while (!scene.notes.isOver) {
      for (auto& peer : peers) peer.send(request);
      for (auto& peer : peers) {
        const auto reply = peer.receiveReply();
        scene.notes.wrongAnswers += !reply || reply->outcome() != dismissed;
        ++scene.notes.dialogs;
      }
    }
    _exit(0);
  }
  for (const auto asker : askers) waitpid(asker, nullptr, 0);
}

// Lines in the log.

void floodTheLog(const Scene& scene) {
  const auto registration =
      RawClient::methodCall("registerClientWithPID", "i", WireBytes().u32(floodedClient).bytes());
  auto silent = registration;
  constexpr std::size_t flags = 2, noReplyExpected = 1;
  silent[flags] = noReplyExpected;
  Data batch;
  for (int i = 0; i < 100; ++i) batch.insert(batch.end(), silent.begin(), silent.end());
  auto peer = connectedClient(scene.socketPath);
  while (!scene.notes.isOver && peer.send(batch)) scene.notes.causedLines += 100;
  peer.send(registration);
  scene.notes.wrongAnswers += !peer.receiveReply();
  ++scene.notes.causedLines;
}

// Endings of the daemon in the middle of an operation.

/// Unregisters the victim within two milliseconds of each round's begin.
void aimEndings(const Scene& scene) {
  auto& notes = scene.notes;
  std::mt19937 random(scene.seed);
  for (int round = 1; notes.reaches(notes.registered, round); ++round) {
    auto peer = connectedClient(scene.socketPath);
    notes.aimed = round;
    if (!notes.reaches(notes.begun, round)) return;
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 2'000));
    peer.send(RawClient::methodCall("unregisterClientWithPID", "i",
                                    WireBytes().u32(floodedClient).bytes()));
    peer.isClosedByPeer();
    notes.ended = round;
  }
}

constexpr Act acts[] = {{"polite", bePolite},
                        {"busy", beBusy},
                        {"much", callWithMuch},
                        {"descriptors", sendDescriptors},
                        {"connects", connectInALoop},
                        {"places", holdConnections},
                        {"refused", connectWhereNoPlaceIs},
                        {"half-sent", sendHalf},
                        {"drip", drip},
                        {"turns", sendLargeMessages},
                        {"dialogs", fillMemoryAtDialogs},
                        {"screen", coverTheScreen},
                        {"log", floodTheLog},
                        {"endings", aimEndings}};

}  // namespace

const Act* actNamed(const std::string& name) {
  const auto* const found =
      std::find_if(std::begin(acts), std::end(acts), [&](auto& act) { return name == act.name; });
  return found == std::end(acts) ? nullptr : found;
}

RawClient connectedClient(const std::string& socketPath) {
  RawClient client(socketPath);
  (void)isServed(client);
  return client;
}

}  // namespace qrt::test
