// Somebody who exchanges two objects while an action works with them.
#pragma once

#include <fcntl.h>
#include <stdio.h>

#include <string>
#include <vector>

#include "support/SteppedChild.h"

namespace qrt::test {

inline bool exchange(const std::string& first, const std::string& second) {
#ifdef __APPLE__
  return renamex_np(first.c_str(), second.c_str(), RENAME_SWAP) == 0;
#else
  return renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE) == 0;
#endif
}

/// What became of an action that was attacked once at each of its stops.
struct Attacks {
  /// How often the objects were exchanged. They may be protected at some stops.
  int exchanges = 0;
  /// Those at which the attacker won.
  std::vector<int> lostStops;
};

/// Exchanges `first` and `second` at each stop of `action` in turn, each time after `prepare`:
/// first for good, then until the next stop only. The attacker has won when `action` did not go
/// well or `isSafe` is false at its end.
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
