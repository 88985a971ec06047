// A process that ends at each of its system calls in turn.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qrt::test {

#ifdef __APPLE__

/// Runs `action` in a child that is killed a little later with each `stop`. True when the child
/// came to its end instead.
template <class Action>
bool survives(Action action, int stop) {
  constexpr useconds_t interval = 20;
  const auto child = fork();
  if (child == 0) {
    action();
    _exit(0);
  }
  usleep(static_cast<useconds_t>(stop) * interval);
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status);
}

#else

/// Runs `action` in a child that is killed at its stop number `stop`, counted from 1: before its
/// first system call, after it, before the second, ... True when the child came to its end instead.
template <class Action>
bool survives(Action action, int stop) {
  const auto child = fork();
  if (child == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    action();
    _exit(0);
  }
  int status = 0;
  for (int seen = 0; seen <= stop; ++seen) {
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) {
      EXPECT_TRUE(seen > 0 && WIFEXITED(status)) << "status " << status << " at stop " << seen;
      return true;
    }
    if (seen < stop) ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return false;
}

#endif

/// Kills `action` at every stop, each time after `prepare`, and has `check` look at what is left.
/// Returns how often it was killed.
template <class Prepare, class Action, class Check>
int killAtEveryCall(Prepare prepare, Action action, Check check) {
  constexpr int unreasonablyMany = 20000;
  for (int stop = 1; stop < unreasonablyMany; ++stop) {
    prepare();
    const bool hasSurvived = survives(action, stop);
    check(stop);
    if (hasSurvived || testing::Test::HasFailure()) return stop - 1;
  }
  ADD_FAILURE() << "never came to its end";
  return 0;
}

}  // namespace qrt::test
