#include "platform/CallerProcess.h"

#include <pwd.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include "platform/NativePlatform.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/TextAgent.h"

namespace qrt {
namespace {

constexpr std::array interruptingSignals{SIGINT, SIGQUIT, SIGTERM, SIGHUP};

std::atomic<const std::function<void()>*> currentAction = nullptr;
static_assert(std::atomic<const std::function<void()>*>::is_always_lock_free);

void handleInterruption(int) {
  const int errorOfTheInterrupted = errno;
  if (const auto* action = currentAction.load()) (*action)();
  errno = errorOfTheInterrupted;
}

class SignalGuard : public CallerProcess::InterruptionGuard {
 public:
  explicit SignalGuard(std::function<void()> action) : action_(std::move(action)) {
    currentAction = &action_;
    struct sigaction handling {};
    handling.sa_handler = handleInterruption;
    for (std::size_t i = 0; i < interruptingSignals.size(); ++i) {
      ::sigaction(interruptingSignals[i], nullptr, &previous_[i]);
      // A signal that the parent has set to be ignored (as nohup does) stays ignored.
      if (previous_[i].sa_handler == SIG_IGN) continue;
      ::sigaction(interruptingSignals[i], &handling, nullptr);
    }
  }

  ~SignalGuard() override {
    for (std::size_t i = 0; i < interruptingSignals.size(); ++i) {
      ::sigaction(interruptingSignals[i], &previous_[i], nullptr);
    }
    currentAction = nullptr;
  }

 private:
  std::function<void()> action_;
  std::array<struct sigaction, interruptingSignals.size()> previous_{};
};

/// The calling process, its signals and its folder.
class PosixCallerProcess : public CallerProcess {
 public:
  std::int32_t processIdentifier() const override { return ::getpid(); }

  PosixResult<std::string> currentFolder() const override {
    const std::unique_ptr<char, decltype(&std::free)> path(::getcwd(nullptr, 0), &std::free);
    if (!path) return lastError();
    // A folder outside the process's root has no path.
    if (path.get()[0] != '/') return PosixCode::noEntry;
    return std::string(path.get());
  }

  std::vector<std::string> homeFolders() const override {
    std::vector<std::string> folders;
    const auto add = [&](const char* folder) {
      if (folder && *folder) folders.emplace_back(folder);
    };
    const auto addOfUser = [&](uid_t user) {
      // The client has one thread when it asks.
      const auto* const account = ::getpwuid(user);
      if (account) add(account->pw_dir);
    };
    add(std::getenv("HOME"));
    addOfUser(::getuid());
    if (const char* const user = std::getenv("SUDO_UID")) {
      addOfUser(static_cast<uid_t>(std::strtoul(user, nullptr, 10)));
    }
    return folders;
  }

  std::unique_ptr<CallerProcess::InterruptionGuard> catchInterruptions(
      std::function<void()> action) override {
    return std::make_unique<SignalGuard>(std::move(action));
  }

  std::unique_ptr<CallerProcess::TextAgent> startTextAgent() override { return makeTextAgent(); }
};

}  // namespace

std::unique_ptr<CallerProcess> makeNativeCallerProcess() {
  return std::make_unique<PosixCallerProcess>();
}

}  // namespace qrt
