// An action that stands still at each of its system calls.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#ifndef __APPLE__
#include <sys/ptrace.h>
#endif

namespace qrt::test {

/// Runs an action in a process of its own, from stop to stop: before its first system call, after
/// it, before the second, ... Where system calls cannot be followed, the stops are moments. Only
/// the thread that begins the action is stopped.
class SteppedChild {
 public:
  /// `action` tells whether it went well. It stands still before it begins.
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
  /// Kills the process where it stands.
  ~SteppedChild() {
    if (!isStopped()) return;
    kill(process_, SIGKILL);
    wait();
  }

  /// Goes on by so many stops. False when the action has come to its end before.
  bool step(int stops) {
    for (; stops > 0 && isStopped(); --stops) {
      goOnToNextStop();
      wait();
    }
    return isStopped();
  }

  /// Goes on without stops. True when the action went well.
  bool finish() {
    if (isStopped()) {
      goOnToTheEnd();
      wait();
    }
    return WIFEXITED(status_) && WEXITSTATUS(status_) == 0;
  }

 private:
  bool isStopped() const { return WIFSTOPPED(status_); }
  void wait() { waitpid(process_, &status_, WUNTRACED); }

#ifdef __APPLE__
  static void beFollowed() {}
  void goOnToTheEnd() const { kill(process_, SIGCONT); }
  void goOnToNextStop() const {
    constexpr useconds_t betweenStops = 20;
    goOnToTheEnd();
    usleep(betweenStops);
    kill(process_, SIGSTOP);
  }
#else
  static void beFollowed() { ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }
  void goOnToTheEnd() const { ptrace(PTRACE_DETACH, process_, nullptr, nullptr); }
  void goOnToNextStop() const { ptrace(PTRACE_SYSCALL, process_, nullptr, nullptr); }
#endif

  const pid_t process_;
  int status_ = 0;
};

}  // namespace qrt::test
