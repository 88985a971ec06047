// What the daemon adds to the cost of a bare call between two processes.
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <csignal>

#include "operations/OperationCatalogue.h"
#include "platform/HelperConnection.h"
#include "platform/NativePlatform.h"
#include "support/DaemonProcess.h"

namespace {

int answer(sd_bus_message* call, void*, sd_bus_error*) {
  return sd_bus_reply_method_return(call, nullptr);
}

[[noreturn]] void serveBare(int socket) {
  static const sd_bus_vtable methods[] = {
      SD_BUS_VTABLE_START(0), SD_BUS_METHOD("nop", "", "", answer, SD_BUS_VTABLE_UNPRIVILEGED),
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

void bareCall(benchmark::State& state) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) < 0) return;
  const pid_t server = fork();
  if (server == 0) serveBare(pair[0]);
  sd_bus* bus = nullptr;
  sd_bus_new(&bus);
  sd_bus_set_fd(bus, pair[1], pair[1]);
  sd_bus_start(bus);
  for (auto _ : state) {
    sd_bus_message* reply = nullptr;
    if (sd_bus_call_method(bus, nullptr, "/bare", "bare.Call", "nop", nullptr, &reply, "") < 0) {
      state.SkipWithError("the bare call failed");
    }
    sd_bus_message_unref(reply);
  }
  sd_bus_close_unref(bus);
  kill(server, SIGKILL);
  waitpid(server, nullptr, 0);
}
BENCHMARK(bareCall)->Unit(benchmark::kMicrosecond)->UseRealTime();

void authorizedNop(benchmark::State& state) {
  const qrt::test::DaemonProcess daemon;
  const qrt::NativePlatform native;
  auto connection = native.facilities().helperConnector.connect(daemon.socketPath());
  if (!connection) return state.SkipWithError("the daemon cannot be reached");
  const auto form = (*connection)->createExternalForm();
  for (auto _ : state) {
    const auto outcome =
        (*connection)->performPrivilegedOperation(qrt::operation_code::nop, *form, nullptr, {});
    if (outcome) state.SkipWithError("the request failed");
  }
}
BENCHMARK(authorizedNop)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
