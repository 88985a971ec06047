#include "platform/DeclaredRights.h"

#include <cstdint>

#include "platform/linux/SdBus.h"

namespace qrt {
namespace {

/// polkit numbers its answers without a rule of the administrator's: 0 no, 1 the user's own
/// password, 2 an administrator's, 3 and 4 the same and remembered, 5 yes.
RightRule ruleFor(std::uint32_t answer) {
  constexpr std::uint32_t administrator = 2;
  constexpr std::uint32_t yes = 5;
  if (answer == yes) return RightRule::everybody;
  return answer == administrator ? RightRule::administrators : RightRule::other;
}

}  // namespace

std::optional<DeclaredRights> declaredRights() {
  const auto bus = openSystemBus();
  sd_bus_message* fresh = nullptr;
  if (!bus || sd_bus_call_method(bus.get(), "org.freedesktop.PolicyKit1",
                                 "/org/freedesktop/PolicyKit1/Authority",
                                 "org.freedesktop.PolicyKit1.Authority", "EnumerateActions",
                                 nullptr, &fresh, "s", "") < 0) {
    return std::nullopt;
  }
  const BusMessage reply(fresh);
  DeclaredRights rights;
  if (sd_bus_message_enter_container(fresh, 'a', "(ssssssuuua{ss})") < 0) return std::nullopt;
  while (sd_bus_message_enter_container(fresh, 'r', "ssssssuuua{ss}") > 0) {
    const char* name = nullptr;
    std::uint32_t any = 0;
    std::uint32_t inactive = 0;
    std::uint32_t active = 0;
    if (sd_bus_message_read(fresh, "s", &name) < 0 || sd_bus_message_skip(fresh, "sssss") < 0 ||
        sd_bus_message_read(fresh, "uuu", &any, &inactive, &active) < 0 ||
        sd_bus_message_skip(fresh, "a{ss}") < 0 || sd_bus_message_exit_container(fresh) < 0) {
      return std::nullopt;
    }
    const bool isSame = any == active && inactive == active;
    rights[name] = isSame ? ruleFor(active) : RightRule::other;
  }
  return rights;
}

}  // namespace qrt
