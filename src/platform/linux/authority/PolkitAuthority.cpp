#include "platform/linux/authority/PolkitAuthority.h"

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>

#include "base/Utf8.h"
#include "platform/Log.h"
#include "platform/linux/SdBus.h"
#include "protocol/WireText.h"

namespace qrt {
namespace {

constexpr const char* service = "org.freedesktop.PolicyKit1";
constexpr const char* path = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* interface = "org.freedesktop.PolicyKit1.Authority";
constexpr std::string_view errorsOfPolkit = "org.freedesktop.PolicyKit1.";

/// There is one question on each connection.
constexpr const char* cancellation = "question";
constexpr std::uint32_t allowInteraction = 1;
constexpr std::uint64_t noTimeLimit = std::numeric_limits<std::uint64_t>::max();

/// More than any dialog shows; the rest of a longer text is cut off.
constexpr std::size_t longestText = 2048;

Bus connect(const std::string& address) {
  sd_bus* fresh = nullptr;
  if (sd_bus_new(&fresh) < 0) return nullptr;
  Bus bus(fresh);
  const bool isConnecting = sd_bus_set_address(fresh, address.c_str()) >= 0 &&
                            sd_bus_set_bus_client(fresh, 1) >= 0 && sd_bus_start(fresh) >= 0;
  return isConnecting ? std::move(bus) : nullptr;
}

/// Code points that are not characters; libsystemd refuses them in a text.
bool isNoncharacter(char32_t codePoint) {
  return (codePoint >= 0xFDD0 && codePoint <= 0xFDEF) || (codePoint & 0xFFFE) == 0xFFFE;
}

/// The text without what the bus does not accept.
std::string displayable(const std::string& text) {
  constexpr std::string_view replacement = "\uFFFD";
  const auto encoded = encodeWireText(text);
  std::string shown;
  for (std::string_view left = encoded; !left.empty();) {
    const auto character = firstUtf8Character(left);
    const auto bytes = left.substr(0, character.length);
    left.remove_prefix(character.length);
    shown += isNoncharacter(character.codePoint) ? replacement : bytes;
  }
  if (shown.size() <= longestText) return shown;
  std::size_t end = longestText;
  while (end > 0 && (shown[end] & 0xC0) == 0x80) --end;
  shown.resize(end);
  return shown;
}

int appendDetails(sd_bus_message* call, const PolkitQuestion& question) {
  int result = sd_bus_message_open_container(call, 'a', "{ss}");
  for (const auto& [key, text] :
       {std::pair<const char*, const std::string&>{"polkit.message", question.message},
        {"polkit.icon_name", question.iconName}}) {
    if (result < 0 || text.empty()) continue;
    result = sd_bus_message_append(call, "{ss}", key, displayable(text).c_str());
  }
  return result < 0 ? result : sd_bus_message_close_container(call);
}

BusMessage callFor(sd_bus* bus, const PolkitQuestion& question) {
  sd_bus_message* fresh = nullptr;
  if (sd_bus_message_new_method_call(bus, &fresh, service, path, interface, "CheckAuthorization") <
      0) {
    return nullptr;
  }
  BusMessage call(fresh);
  // polkit believes what root says, so all of it is sent: number and start time for versions
  // without handles, and the user that the kernel reported, so that polkit need not look it up.
  const auto& process = question.asker.process;
  const auto user = static_cast<std::int32_t>(process.userID);
  const bool isComplete =
      sd_bus_message_append(fresh, "(sa{sv})s", "unix-process", 4, "pid", "u",
                            static_cast<std::uint32_t>(process.processID), "start-time", "t",
                            process.startTime, "uid", "i", user, "pidfd", "h",
                            question.asker.processHandle.get(), question.action.c_str()) >= 0 &&
      appendDetails(fresh, question) >= 0 &&
      sd_bus_message_append(fresh, "us", question.mayInteract ? allowInteraction : 0,
                            cancellation) >= 0;
  return isComplete ? std::move(call) : nullptr;
}

int keepAnswer(sd_bus_message* answer, void* slot, sd_bus_error*) {
  static_cast<BusMessage*>(slot)->reset(sd_bus_message_ref(answer));
  return 1;
}

/// Milliseconds until the library wants to be called again, as `poll` takes them.
int patienceOf(sd_bus* bus) {
  std::uint64_t end = 0;
  if (sd_bus_get_timeout(bus, &end) < 0 || end == noTimeLimit) return -1;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto microseconds = static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
                            static_cast<std::uint64_t>(now.tv_nsec) / 1'000;
  if (end <= microseconds) return 0;
  return static_cast<int>(std::min<std::uint64_t>((end - microseconds) / 1'000 + 1, 60'000));
}

/// Whether the person closed the dialog: one of the details of the answer says so.
bool wasDismissedBy(sd_bus_message* answer) {
  if (sd_bus_message_enter_container(answer, 'a', "{ss}") < 0) return false;
  const char* key = nullptr;
  const char* text = nullptr;
  bool wasDismissed = false;
  while (sd_bus_message_read(answer, "{ss}", &key, &text) > 0) {
    wasDismissed |= std::string_view(key) == "polkit.dismissed" && *text != '\0';
  }
  return wasDismissed;
}

AuthorizationStatus statusIn(sd_bus_message* answer) {
  int isAuthorized = 0;
  int needsDialog = 0;
  if (sd_bus_message_enter_container(answer, 'r', "bba{ss}") < 0 ||
      sd_bus_message_read(answer, "bb", &isAuthorized, &needsDialog) < 0) {
    return AuthorizationStatus::internal;
  }
  if (isAuthorized != 0) return AuthorizationStatus::noError;
  if (wasDismissedBy(answer)) return AuthorizationStatus::canceled;
  return needsDialog != 0 ? AuthorizationStatus::interactionNotAllowed
                          : AuthorizationStatus::denied;
}

}  // namespace

std::optional<AuthorizationStatus> PolkitAuthority::check(const PolkitQuestion& question,
                                                          Log& log) const {
  // Declared first, so that it outlives the bus, which may still hold its address.
  BusMessage answer;
  const auto bus = connect(address_);
  if (!bus) return std::nullopt;
  const auto call = callFor(bus.get(), question);
  if (!call) {
    // polkit is reachable. A client must not avoid it by sending texts that cannot be passed on.
    log.error("polkit could not be asked for '%{public}@', which denies it.", question.action);
    return AuthorizationStatus::internal;
  }
  if (sd_bus_call_async(bus.get(), nullptr, call.get(), keepAnswer, &answer, noTimeLimit) < 0) {
    return std::nullopt;
  }

  while (!answer) {
    const int progress = sd_bus_process(bus.get(), nullptr);
    if (progress < 0) return std::nullopt;
    if (progress > 0 || answer) continue;
    const auto events = static_cast<short>(sd_bus_get_events(bus.get()));
    const pollfd awaited{sd_bus_get_fd(bus.get()), events, 0};
    if (waitForAsker(question.asker, awaited, patienceOf(bus.get()))) continue;
    // Else polkit would leave the dialog on the screen.
    sd_bus_call_method(bus.get(), service, path, interface, "CancelCheckAuthorization", nullptr,
                       nullptr, "s", cancellation);
    return AuthorizationStatus::canceled;
  }

  const auto* error = sd_bus_message_get_error(answer.get());
  if (!error) return statusIn(answer.get());
  // Any other error is the bus's own: there is no polkit on it.
  if (!std::string_view(error->name).starts_with(errorsOfPolkit)) return std::nullopt;
  log.error("polkit did not answer for '%{public}@', which denies it: %{public}s", question.action,
            error->message ? error->message : error->name);
  return AuthorizationStatus::denied;
}

}  // namespace qrt
