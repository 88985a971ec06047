#include "client/cli/commandline/SignalNames.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <string>

namespace qrt {
namespace {

struct NamedSignal {
  std::string_view name;
  std::int32_t number;
};

constexpr NamedSignal namedSignals[] = {
    {"HUP", SIGHUP},       {"INT", SIGINT},   {"QUIT", SIGQUIT}, {"ILL", SIGILL},
    {"TRAP", SIGTRAP},     {"ABRT", SIGABRT}, {"BUS", SIGBUS},   {"FPE", SIGFPE},
    {"KILL", SIGKILL},     {"USR1", SIGUSR1}, {"SEGV", SIGSEGV}, {"USR2", SIGUSR2},
    {"PIPE", SIGPIPE},     {"ALRM", SIGALRM}, {"TERM", SIGTERM}, {"CHLD", SIGCHLD},
    {"CONT", SIGCONT},     {"STOP", SIGSTOP}, {"TSTP", SIGTSTP}, {"TTIN", SIGTTIN},
    {"TTOU", SIGTTOU},     {"URG", SIGURG},   {"XCPU", SIGXCPU}, {"XFSZ", SIGXFSZ},
    {"VTALRM", SIGVTALRM}, {"PROF", SIGPROF}, {"IO", SIGIO},     {"WINCH", SIGWINCH},
    {"SYS", SIGSYS},
};

}  // namespace

std::vector<std::string_view> signalNames() {
  std::vector<std::string_view> names;
  for (const auto& entry : namedSignals) names.push_back(entry.name);
  return names;
}

std::optional<std::int32_t> signalNumber(std::string_view name) {
  std::string upper(name);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  std::string_view bare = upper;
  if (bare.starts_with("SIG")) bare.remove_prefix(3);
  const auto found = std::find_if(std::begin(namedSignals), std::end(namedSignals),
                                  [bare](const NamedSignal& entry) { return entry.name == bare; });
  if (found == std::end(namedSignals)) return std::nullopt;
  return found->number;
}

}  // namespace qrt
