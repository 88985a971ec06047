// An action that stops at each of its system calls, to be killed or attacked there.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

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

  /// Continues without stops. True when the action succeeded.
  bool finish() {
    if (isStopped()) {
      continueToTheEnd();
      wait();
    }
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

/// Kills `action` at every stop, each time after `prepare`, and calls `check` to examine what is
/// left. Returns the number of kills.
template <class Prepare, class Action, class Check>
int killAtEveryCall(Prepare prepare, Action action, Check check) {
  constexpr int unreasonablyMany = 20000;
  for (int stop = 1; stop < unreasonablyMany; ++stop) {
    prepare();
    bool isOver = false;
    {
      SteppedChild child([&] {
        action();
        return true;
      });
      isOver = !child.step(stop);
      EXPECT_TRUE(!isOver || child.finish()) << "at stop " << stop;
    }
    check(stop);
    if (isOver || testing::Test::HasFailure()) return stop - 1;
  }
  ADD_FAILURE() << "the action does not end";
  return 0;
}

inline bool exchange(const std::string& first, const std::string& second) {
#ifdef __APPLE__
  return renamex_np(first.c_str(), second.c_str(), RENAME_SWAP) == 0;
#else
  return renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE) == 0;
#endif
}

struct Attacks {
  /// How often the objects were exchanged. They may be protected at some stops.
  int exchanges = 0;
  /// The stops at which the attacker won.
  std::vector<int> lostStops;
};

/// Exchanges `first` and `second` at each stop of `action` in turn, each time after `prepare`:
/// first for good, then until the next stop only. The attacker has won when `action` fails or
/// `isSafe` is false at its end.
template <class Prepare, class Action, class IsSafe>
Attacks attackAtEveryCall(const std::string& first, const std::string& second, Prepare prepare,
                          Action action, IsSafe isSafe) {
  Attacks attacks;
  for (const bool forGood : {true, false}) {
    bool isOver = false;
    for (int stop = 1; !isOver; ++stop) {
      prepare();
      SteppedChild child(action);
      isOver = !child.step(stop);
      const bool isExchanged = !isOver && exchange(first, second);
      attacks.exchanges += isExchanged;
      if (isExchanged && !forGood) {
        child.step(1);
        exchange(first, second);
      }
      if (!child.finish() || !isSafe()) attacks.lostStops.push_back(stop);
    }
  }
  return attacks;
}

}  // namespace qrt::test
