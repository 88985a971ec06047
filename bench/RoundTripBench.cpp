// What the daemon adds to the cost of a bare call between two processes.
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "operations/OperationCatalogue.h"
#include "protocol/Names.h"
#include "support/DaemonProcess.h"

namespace {

constexpr std::size_t formSize = 32;

int answer(sd_bus_message* call, void*, sd_bus_error*) {
  return sd_bus_reply_method_return(call, "sxa{sv}", "", std::int64_t{0}, 0);
}

[[noreturn]] void serveBare(int socket) {
  static const sd_bus_vtable methods[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("nop", "tayahav", "sxa{sv}", answer, SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  sd_bus* bus = nullptr;
  sd_id128_t identifier;
  sd_id128_randomize(&identifier);
  sd_bus_new(&bus);
  sd_bus_set_server(bus, 1, identifier);
  sd_bus_set_fd(bus, socket, socket);
  sd_bus_add_object_vtable(bus, nullptr, "/bare", "bare.Call", methods, nullptr);
  sd_bus_start(bus);
  for (;;) {
    const int result = sd_bus_process(bus, nullptr);
    if (result < 0) _exit(0);
    if (result == 0) sd_bus_wait(bus, UINT64_MAX);
  }
}

/// The same client and the same messages for both: what differs is who answers.
class Client {
 public:
  explicit Client(int socket) {
    sd_bus_new(&bus_);
    sd_bus_set_fd(bus_, socket, socket);
    sd_bus_start(bus_);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { sd_bus_close_unref(bus_); }

  sd_bus_message* request(const char* path, const char* interface, const char* member) {
    sd_bus_message* call = nullptr;
    sd_bus_message_new_method_call(bus_, &call, nullptr, path, interface, member);
    return call;
  }

  /// One request of a nop; whether it succeeded.
  bool nop(const char* path, const char* interface, const char* member, const void* form) {
    auto* call = request(path, interface, member);
    sd_bus_message_append(call, "t", qrt::operation_code::nop);
    sd_bus_message_append_array(call, 'y', form, formSize);
    sd_bus_message_append(call, "ahav", 0, 0);
    auto* reply = answer(call);
    const char* domain = "no reply";
    if (reply) sd_bus_message_read(reply, "s", &domain);
    const bool succeeded = *domain == 0;
    sd_bus_message_unref(reply);
    return succeeded;
  }

  /// The reply, which the caller frees, or null.
  sd_bus_message* answer(sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    sd_bus_call(bus_, call, 0, nullptr, &reply);
    sd_bus_message_unref(call);
    return reply;
  }

 private:
  sd_bus* bus_ = nullptr;
};

void bareCall(benchmark::State& state) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) < 0) return;
  const pid_t server = fork();
  if (server == 0) serveBare(pair[0]);
  {
    Client client(pair[1]);
    const std::uint8_t form[formSize] = {};
    for (auto _ : state) {
      if (!client.nop("/bare", "bare.Call", "nop", form)) {
        state.SkipWithError("the bare call failed");
      }
    }
  }
  kill(server, SIGKILL);
  waitpid(server, nullptr, 0);
}
BENCHMARK(bareCall)->Unit(benchmark::kMicrosecond)->UseRealTime();

int connectTo(const std::string& path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  path.copy(name.sun_path, sizeof name.sun_path - 1);
  return connect(socket, reinterpret_cast<sockaddr*>(&name), sizeof name) == 0 ? socket : -1;
}

void authorizedNop(benchmark::State& state) {
  const qrt::test::DaemonProcess daemon;
  Client client(connectTo(daemon.socketPath()));
  auto* sealed = client.answer(
      client.request(qrt::wire::helperPath, qrt::wire::authorityInterface, "createExternalForm"));
  const void* form = nullptr;
  std::size_t size = 0;
  if (!sealed || sd_bus_message_read_array(sealed, 'y', &form, &size) < 0) {
    return state.SkipWithError("the daemon gives no external form");
  }
  for (auto _ : state) {
    if (!client.nop(qrt::wire::helperPath, qrt::wire::helperInterface, "performPrivilegedOperation",
                    form)) {
      state.SkipWithError("the request failed");
    }
  }
  sd_bus_message_unref(sealed);
}
BENCHMARK(authorizedNop)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
