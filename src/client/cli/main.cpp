#include <clocale>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "client/cli/Client.h"
#include "platform/CallerProcess.h"
#include "platform/NativePlatform.h"
#include "platform/Terminal.h"

namespace {

/// The language part of the user's locale. "C" and "POSIX" have no string tables.
std::string languageOfUser() {
  std::setlocale(LC_CTYPE, "");
  const char* const locale = std::setlocale(LC_MESSAGES, "");
  const std::string_view name = locale ? locale : "C";
  return std::string(name.substr(0, name.find_first_of("_.@")));
}

/// A user who wants no colour sets the variable to any text.
bool mayColor() {
  const char* const refusal = std::getenv("NO_COLOR");
  return !refusal || !*refusal;
}

/// Terminals that can only append text have this name.
bool isTerminalDumb() {
  const char* const name = std::getenv("TERM");
  return name && std::string_view(name) == "dumb";
}

}  // namespace

int main(int argc, char** argv) {
  // First, because it opens the standard streams that are closed.
  const auto terminal = qrt::makeNativeTerminal();
  const qrt::NativePlatform native;
  const auto caller = qrt::makeNativeCallerProcess();
  qrt::ClientEnvironment environment{native.facilities(),
                                     *terminal,
                                     *caller,
                                     QRT_BUNDLE_PATH,
                                     languageOfUser(),
                                     qrt::RegistrationPatience{},
                                     mayColor() && !isTerminalDumb()};
  environment.mayRedraw = !isTerminalDumb();
  return static_cast<int>(qrt::runClient({argv + 1, argv + argc}, environment));
}
