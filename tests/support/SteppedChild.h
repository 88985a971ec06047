// An action that stops at each of its system calls, to be attacked there.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#ifndef __APPLE__
#include <sys/ptrace.h>
#endif

namespace qrt::test {

/// Runs an action in a process of its own, from stop to stop: before its first system call, after
/// it, before the second, ... Where system calls cannot be followed, the stops are moments. Only
/// the thread that begins the action is stopped.
class SteppedChild {
 public:
  /// `action` returns whether it succeeded. It is stopped before it begins.
  template <class Action>
  explicit SteppedChild(Action action) : process_(fork()) {
    if (process_ == 0) {
      beFollowed();
      raise(SIGSTOP);
      _exit(action() ? 0 : 1);
    }
    wait();
  }
  SteppedChild(const SteppedChild&) = delete;
  SteppedChild& operator=(const SteppedChild&) = delete;
  /// Kills a stopped process.
  ~SteppedChild() {
    if (!isStopped()) return;
    kill(process_, SIGKILL);
    wait();
  }

  /// Continues by that many stops. False when the action ends before.
  bool step(int stops) {
    for (; stops > 0 && isStopped(); --stops) {
      continueToNextStop();
      wait();
    }
    return isStopped();
  }

  /// Continues without stops, and does not wait.
  void resume() const {
    if (isStopped()) continueToTheEnd();
  }

  /// Continues without stops. True when the action succeeded.
  bool finish() {
    resume();
    if (isStopped()) wait();
    return WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
  }

 private:
  bool isStopped() const { return WIFSTOPPED(status_); }
  void wait() { waitpid(process_, &status_, WUNTRACED); }

#ifdef __APPLE__
  static void beFollowed() {}
  void continueToTheEnd() const { kill(process_, SIGCONT); }
  void continueToNextStop() const {
    constexpr useconds_t betweenStops = 20;
    continueToTheEnd();
    usleep(betweenStops);
    kill(process_, SIGSTOP);
  }
#else
  static void beFollowed() { ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }
  void continueToTheEnd() const { ptrace(PTRACE_DETACH, process_, nullptr, nullptr); }
  void continueToNextStop() const { ptrace(PTRACE_SYSCALL, process_, nullptr, nullptr); }
#endif

  const pid_t process_;
  int status_ = 0;
};

/// The action as one that succeeds, whatever it returns.
template <class Action>
auto anyhow(Action action) {
  return [action] {
    (void)action();
    return true;
  };
}

struct Attacks {
  /// How often the attacker could do what it wanted.
  int strikes = 0;
  /// The stops at which it won.
  std::vector<int> lostStops;
};

/// Runs `action` again and again, each time after `prepare`. The attacker calls `strike`, which
/// returns whether it worked: at each stop for good, and at every third once more at the next stop.
/// It has won when `action` fails or `isSafe` is false at its end; `isOneEnough` ends it then.
template <class Prepare, class Action, class Strike, class IsSafe>
Attacks attackAtEveryCall(Prepare prepare, Action action, Strike strike, IsSafe isSafe,
                          bool isOneEnough = false) {
  Attacks attacks;
  for (const bool forGood : {true, false}) {
    bool isOver = false;
    for (int stop = 1; !isOver; stop += forGood ? 1 : 3) {
      prepare();
      SteppedChild child(action);
      isOver = !child.step(stop);
      const bool isStruck = !isOver && strike();
      attacks.strikes += isStruck;
      if (isStruck && !forGood) {
        child.step(1);
        strike();
      }
      if (!child.finish() || !isSafe()) attacks.lostStops.push_back(stop);
      if (isOneEnough && !attacks.lostStops.empty()) return attacks;
    }
  }
  return attacks;
}

/// A strike that exchanges two objects.
inline auto exchanging(const std::string& first, const std::string& second) {
  return [first, second] {
#ifdef __APPLE__
    return renamex_np(first.c_str(), second.c_str(), RENAME_SWAP) == 0;
#else
    return renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE) == 0;
#endif
  };
}

}  // namespace qrt::test
