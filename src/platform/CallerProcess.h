// This process as the caller of the daemon: who it is and what can interrupt it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Result.h"

namespace qrt {

class CallerProcess {
 public:
  /// Restores the signal handling when it is destroyed.
  class InterruptionGuard {
   public:
    virtual ~InterruptionGuard() = default;
  };

  /// Asks the user at the terminal for the passwords that this process's requests need. Its
  /// destructor restores the terminal, also in the middle of a question.
  class TextAgent {
   public:
    virtual ~TextAgent() = default;
    /// Cancels the current question. Async-signal-safe.
    virtual void dismiss() = 0;
  };

  virtual ~CallerProcess() = default;

  virtual std::int32_t processIdentifier() const = 0;

  /// The absolute path of the current folder, without symbolic links. `noEntry` when the folder was
  /// removed or is outside of the process's root.
  virtual PosixResult<std::string> currentFolder() const = 0;

  /// The home folders of the user: the one in the environment, the one of the user's account, and
  /// the one of the account that ran "sudo". Some may not exist.
  virtual std::vector<std::string> homeFolders() const = 0;

  /// While the guard lives, a signal that asks the process to end (SIGINT, SIGQUIT, SIGTERM,
  /// SIGHUP) calls `action` instead of ending it. `action` runs in a signal handler, on any thread,
  /// maybe more than once. A signal that was ignored stays ignored. One guard at a time.
  virtual std::unique_ptr<InterruptionGuard> catchInterruptions(std::function<void()> action) = 0;

  /// Null when this process is not in the foreground of a terminal, when the system has no agent
  /// for terminals, and after an interruption.
  virtual std::unique_ptr<TextAgent> startTextAgent() = 0;
};

}  // namespace qrt
