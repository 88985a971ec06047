// Owners of what libsystemd makes.
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>

namespace qrt {

struct BusMessageDeleter {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageDeleter>;

struct BusDeleter {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, BusDeleter>;

struct BusErrorOwner {
  BusErrorOwner() = default;
  BusErrorOwner(const BusErrorOwner&) = delete;
  BusErrorOwner& operator=(const BusErrorOwner&) = delete;
  ~BusErrorOwner() { sd_bus_error_free(&error); }

  sd_bus_error error{};
};

/// The bus of the system, for short questions: a call fails after 5 s. Null when there is no bus.
inline Bus openSystemBus() {
  constexpr std::uint64_t microseconds = 5'000'000;
  sd_bus* fresh = nullptr;
  if (sd_bus_open_system(&fresh) < 0) return nullptr;
  sd_bus_set_method_call_timeout(fresh, microseconds);
  return Bus(fresh);
}

}  // namespace qrt
