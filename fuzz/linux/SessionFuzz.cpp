// Whole connections to the daemon: the bytes are what its peers do one after the other.
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "integration/linux/RawClient.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/Log.h"
#include "platform/NativePlatform.h"
#include "platform/linux/authority/LinuxAuthority.h"
#include "platform/linux/wire/LinuxListenerEndpoint.h"
#include "protocol/FeedbackMessage.h"
#include "service/QRTPrivilegedHelper.h"
#include "support/PlatformDouble.h"
#include "support/ScratchFolder.h"

/// Missing without AddressSanitizer.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();
/// The daemon's pauses take no time.
extern "C" int nanosleep(const timespec*, timespec*) { return 0; }

namespace {

using namespace qrt;
using test::RawClient;
using test::WireBytes;

constexpr int mostSteps = 40;

/// The rest of an input; zeros after its end.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}
  bool isAtEnd() const { return rest_.empty(); }
  Data data(std::size_t count) {
    const auto taken = rest_.first(std::min(count, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return {taken.begin(), taken.end()};
  }
  unsigned below(unsigned limit) {
    const auto byte = data(1);
    return byte.empty() ? 0 : byte.front() % limit;
  }
  template <class T, std::size_t size>
  T oneOf(const T (&values)[size]) {
    return values[below(size)];
  }

 private:
  std::span<const std::uint8_t> rest_;
};

struct NoLog : Log {
  void open(std::string_view, std::string_view) override {}
  void write(LogLevel, std::string_view, const LogOrigin&) override {}
};

/// The real daemon, but that its operations only send feedback.
class Daemon {
 public:
  Daemon() {
    std::signal(SIGPIPE, SIG_IGN);
    for (const char* name : {"SearchAgedfiles", "ExecuteUtility"}) {
      const auto handler = std::string("performOperation") + name;
      operations_.handlers().add(handler + "WithArguments:feedbackConnection:", sendFeedback);
    }
  }

  FileDescriptor connect() {
    const auto endpoint = helper_.listener().endpoint(caller_);
    auto* const connected = static_cast<LinuxListenerEndpoint*>(endpoint.get());
    return connected ? std::move(connected->socket) : FileDescriptor();
  }
  Data form() {
    auto& authority = dynamic_cast<LinuxAuthority&>(platform_.authority);
    const auto form = authority.externalForm(*processOf(caller_));
    return form ? Data(form->begin(), form->end()) : Data();
  }
  /// More than the peers of an input can unregister: the daemon ends with its last client.
  void registerClients() {
    const std::lock_guard lock(helper_.clientSetLock());
    helper_.clientSet() = {};
    for (int i = 0; i <= mostSteps; ++i) {
      if (!helper_.clientSet().add(1'000'000'000 + i, caller_.userID)) std::abort();
    }
  }

 private:
  static Outcome sendFeedback(const Platform&, const Array& arguments,
                              FeedbackConnection* feedback) {
    for (std::size_t i = 0; feedback && i < 8 * arguments.size(); ++i) {
      feedback->processPrivilegedOperationFeedback(outputMessage(Data(64 << 10, 'x')));
      feedback->processPrivilegedOperationFeedback(progressMessage(0.5));
    }
    return success;
  }

  const test::ScratchFolder state_;
  const int environment_ = setenv("STATE_DIRECTORY", state_.path().c_str(), 1);
  NativePlatform native_;
  NoLog log_;
  test::FakeSelf self_;
  const Platform platform_ =
      test::platformWith({.log = &log_, .self = &self_}, native_.facilities());
  QRTPrivilegedOperationSetVK2 operations_{log_, platform_.authority};
  QRTPrivilegedHelper& helper_ = *QRTPrivilegedHelper::initForOperationSet(&operations_, platform_);
  const Caller caller_{geteuid(), getpid(), startTimeOfProcess(getpid()).value_or(0)};
};

/// One of the connections speaks at a time; all end with the session.
class Session {
 public:
  Session(Daemon& daemon, Input input) : daemon_(daemon), input_(input) {}

  void play() {
    connections_.push_back(daemon_.connect());
    for (int i = 0; i < mostSteps && !input_.isAtEnd() && !connections_.empty(); ++i) step();
  }

 private:
  void step() {
    switch (input_.below(10)) {
      case 0:
        return send(RawClient::handshakeBytes());
      case 1:
        return send(input_.data(input_.below(64)));
      case 2:
        return call();
      case 3:
        return request();
      case 4:
        damageAt_ = input_.below(256);
        return;
      case 5:
        return receive();
      case 6:
        return connections_.pop_back();
      case 7:
        shutdown(connections_.back().get(), SHUT_WR);
        return;
      case 8:
        return connections_.push_back(daemon_.connect());
      case 9:
        std::rotate(connections_.begin(), connections_.end() - 1, connections_.end());
    }
  }

  void call() {
    const char* const members[] = {
        "getVersionString",    "registerClientWithPID",      "Hello",
        "connectWithEndpoint", "unregisterClientWithPID",    "createExternalForm",
        "stopOperation",       "performPrivilegedOperation", "Introspect"};
    const auto* const member = input_.oneOf(members);
    const auto* const signature = input_.oneOf<const char*>({"", "i", "s", "tayahav"});
    const auto* const object =
        input_.oneOf<const char*>({"QRTPrivilegedHelper", "QRTOperationControl", "x"});
    const auto sent = descriptors();
    const auto body = input_.data(input_.below(64));
    send(RawClient::methodCall(member, signature, body, sent.size(), object), sent);
  }

  void request() {
    const auto sent = descriptors();
    const auto code = input_.oneOf<std::uint64_t>({10, 22, 5, 9998, 9997, 9995, 99});
    const auto form = input_.below(4) == 0 ? Data(input_.below(64)) : daemon_.form();
    const auto body = RawClient::request(code, form, input_.below(3), [&](WireBytes& values) {
      for (auto left = input_.below(4); left > 0; --left) {
        input_.below(2) == 0 ? values.signature("s").string("text") : values.signature("t").u64(1);
      }
    });
    send(RawClient::methodCall("performPrivilegedOperation", "tayahav", body, sent.size()), sent);
  }

  /// To send with a message. The other end of a pair is a connection as well.
  std::vector<int> descriptors() {
    std::vector<int> numbers;
    for (auto left = input_.below(4); left > 0; --left) {
      test::SocketPair pair;
      sent_.push_back(std::move(pair.first));
      if (input_.below(4) != 0) connections_.insert(connections_.begin(), std::move(pair.second));
      numbers.push_back(sent_.back().get());
    }
    return numbers;
  }

  /// A damaged message has another byte, or ends there.
  void send(Data bytes, const std::vector<int>& descriptors = {}) {
    const auto at = std::exchange(damageAt_, SIZE_MAX);
    if (at < bytes.size()) bytes[at] ^= static_cast<std::uint8_t>(input_.below(256));
    if (at < bytes.size() && input_.below(4) == 0) bytes.resize(at);
    fcntl(connections_.back().get(), F_SETFL, O_NONBLOCK);
    if (!bytes.empty()) {
      RawClient(FileDescriptor(dup(connections_.back().get()))).send(bytes, descriptors);
    }
    sent_.clear();
  }

  /// What arrives in a moment. A connection that the daemon passes is the next to speak.
  void receive() {
    pollfd arrived{connections_.back().get(), POLLIN, 0};
    poll(&arrived, 1, 5);
    char bytes[4096];
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    iovec vector{bytes, sizeof bytes};
    msghdr message{nullptr, 0, &vector, 1, control, sizeof control, 0};
    if (recvmsg(arrived.fd, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC) <= 0) return;
    const auto* const part = CMSG_FIRSTHDR(&message);
    if (part) connections_.emplace_back(*reinterpret_cast<const int*>(CMSG_DATA(part)));
  }

  Daemon& daemon_;
  Input input_;
  std::size_t damageAt_ = SIZE_MAX;
  std::vector<FileDescriptor> sent_, connections_;
};

std::size_t entriesOf(const char* path) {
  std::size_t count = 0;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path), &closedir);
  while (readdir(folder.get())) ++count;
  return count;
}

/// What no session may keep.
struct Holdings {
  std::size_t descriptors = entriesOf("/proc/self/fd"), threads = entriesOf("/proc/self/task"),
              bytes = __sanitizer_get_current_allocated_bytes
                          ? __sanitizer_get_current_allocated_bytes()
                          : 0;
};

/// Whether a session leaves descriptors and memory as they were. One whose threads do not end is
/// fatal.
bool keepsNothing(Daemon& daemon, Input input) {
  daemon.registerClients();
  const Holdings before;
  Session(daemon, input).play();
  constexpr int milliseconds = 20'000;  // More than the daemon waits for any peer that has left.
  int moment = 100;                     // For what a thread that stays has still to do.
  for (int waited = 0; waited < milliseconds && moment > 0; ++waited) {
    daemon.registerClients();  // A peer's last message may have registered one more.
    const Holdings now;
    if (now.threads <= before.threads) {
      if (now.descriptors <= before.descriptors && now.bytes <= before.bytes) return true;
      --moment;
    }
    poll(nullptr, 0, 1);
  }
  if (moment == 0) return false;
  std::fprintf(stderr, "A session keeps threads.\n");
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Daemon daemon;
  // What is made at its first use stays, but is not made again.
  for (int plays = 0; plays < 4; ++plays) {
    if (keepsNothing(daemon, Input({bytes, size}))) return 0;
  }
  std::fprintf(stderr, "A session keeps descriptors or memory each time.\n");
  std::abort();
}
