#include "platform/RightForecast.h"

#include <string_view>

#include "platform/linux/SdBus.h"

namespace qrt {
namespace {

constexpr std::string_view errorsOfPolkit = "org.freedesktop.PolicyKit1.";

/// About the process at this end of the bus, which polkit finds by its name there. Users may ask
/// about themselves, without details of a dialog.
BusMessage ask(sd_bus* bus, const std::string& right, sd_bus_error& problem) {
  constexpr int noDetails = 0;
  constexpr unsigned noInteraction = 0;
  const char* name = nullptr;
  if (sd_bus_get_unique_name(bus, &name) < 0) return nullptr;
  sd_bus_message* answer = nullptr;
  sd_bus_call_method(bus, "org.freedesktop.PolicyKit1", "/org/freedesktop/PolicyKit1/Authority",
                     "org.freedesktop.PolicyKit1.Authority", "CheckAuthorization", &problem,
                     &answer, "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s", name,
                     right.c_str(), noDetails, noInteraction, "");
  return BusMessage(answer);
}

/// The helper's own authority decides where there is no polkit: it asks no questions.
RightForecast withoutPolkit(RightRule rule) {
  return rule == RightRule::everybody ? RightForecast::granted : RightForecast::refused;
}

RightForecast forecastFor(const sd_bus_error& problem, RightRule rule) {
  const bool isAbsent = sd_bus_error_has_name(&problem, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0 ||
                        sd_bus_error_has_name(&problem, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0;
  if (isAbsent) return withoutPolkit(rule);
  // polkit has an error for a right that it does not know, and the helper denies such a right.
  const bool isRefusal = problem.name && std::string_view(problem.name).starts_with(errorsOfPolkit);
  return isRefusal ? RightForecast::refused : RightForecast::unknown;
}

}  // namespace

RightForecast forecastOfRight(const std::string& right, RightRule rule) {
  const auto bus = openSystemBus();
  if (!bus) return withoutPolkit(rule);
  BusErrorOwner problem;
  const auto answer = ask(bus.get(), right, problem.error);
  if (!answer) return forecastFor(problem.error, rule);
  int isAuthorized = 0;
  int needsPassword = 0;
  if (sd_bus_message_enter_container(answer.get(), 'r', "bba{ss}") < 0 ||
      sd_bus_message_read(answer.get(), "bb", &isAuthorized, &needsPassword) < 0) {
    return RightForecast::unknown;
  }
  if (isAuthorized != 0) return RightForecast::granted;
  return needsPassword != 0 ? RightForecast::needsPassword : RightForecast::refused;
}

}  // namespace qrt
