// Rounds of an operation under attack.
#pragma once

#include <gtest/gtest.h>

#include <chrono>

namespace qrt::test {

/// Has `naive`, which goes by paths, attacked until `isSafe` is false: then the attack works. After
/// `restore`, `careful` is attacked ten times as often, for some seconds at the most, and has to be
/// safe each time. A machine on which the naive one never loses is let off.
template <class Naive, class Restore, class Careful, class IsSafe>
void attack(Naive naive, Restore restore, Careful careful, IsSafe isSafe) {
  using Clock = std::chrono::steady_clock;
  int roundsUntilLost = 0;
  for (const auto start = Clock::now(); isSafe(); ++roundsUntilLost) {
    if (Clock::now() - start > std::chrono::seconds(60)) GTEST_SKIP() << "the attack never worked";
    naive();
  }
  restore();
  const auto start = Clock::now();
  for (int round = 0; round < 10 * roundsUntilLost + 100; ++round) {
    if (Clock::now() - start > std::chrono::seconds(4)) break;
    careful();
    ASSERT_TRUE(isSafe()) << "in round " << round << ", the naive one lost round "
                          << roundsUntilLost;
  }
}

}  // namespace qrt::test
