// This process as the caller of the daemon: who it is and what can interrupt it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/Result.h"

namespace qrt {

class CallerProcess {
 public:
  /// Ends its own effect when it goes.
  class InterruptionGuard {
   public:
    virtual ~InterruptionGuard() = default;
  };

  /// Asks the person at the terminal for the passwords that this process's requests need. When it
  /// goes, the terminal is as it was before, whatever was being typed.
  class TextAgent {
   public:
    virtual ~TextAgent() = default;
    /// Gives up the question that is being asked. Async-signal-safe.
    virtual void dismiss() = 0;
  };

  virtual ~CallerProcess() = default;

  virtual std::int32_t processIdentifier() const = 0;

  /// Absolute path of the current folder, without symbolic links.
  virtual PosixResult<std::string> currentFolder() const = 0;

  /// While the guard lives, an interruption (of the keyboard, or a request to end) calls `action`
  /// instead of ending the process. It runs in a signal handler, on any thread, maybe more than
  /// once. One guard at a time.
  virtual std::unique_ptr<InterruptionGuard> catchInterruptions(std::function<void()> action) = 0;

  /// Null where nobody can be asked this way: this process is not in the foreground of a terminal,
  /// or the system has no agent for terminals. An interruption makes it null as well.
  virtual std::unique_ptr<TextAgent> startTextAgent() = 0;
};

}  // namespace qrt
