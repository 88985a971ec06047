// A process that ends at each of its system calls in turn.
#pragma once

#include <gtest/gtest.h>

#include "support/SteppedChild.h"

namespace qrt::test {

/// Kills `action` at every stop, each time after `prepare`, and has `check` look at what is left.
/// Returns how often it was killed.
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
  ADD_FAILURE() << "never came to its end";
  return 0;
}

}  // namespace qrt::test
