// Rounds of an operation under attack.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace qrt::test {

/// Somebody who exchanges two objects all the time, in a thread of its own, from when it is made
/// until it goes. Either object may go before.
class FolderExchanger {
 public:
  FolderExchanger(std::string first, std::string second)
      : first_(std::move(first)), second_(std::move(second)) {
    while (!hasBegun_) std::this_thread::yield();
  }
  FolderExchanger(const FolderExchanger&) = delete;
  FolderExchanger& operator=(const FolderExchanger&) = delete;
  ~FolderExchanger() {
    isOver_ = true;
    thread_.join();
  }

  /// How often it has succeeded so far.
  int exchanges() const { return exchanges_; }

 private:
  bool exchange() {
#ifdef __APPLE__
    return renamex_np(first_.c_str(), second_.c_str(), RENAME_SWAP) == 0;
#else
    return renameat2(AT_FDCWD, first_.c_str(), AT_FDCWD, second_.c_str(), RENAME_EXCHANGE) == 0;
#endif
  }

  const std::string first_;
  const std::string second_;
  std::atomic<int> exchanges_ = 0;
  std::atomic<bool> hasBegun_ = false;
  std::atomic<bool> isOver_ = false;
  std::thread thread_{[this] {
    while (!isOver_) {
      exchanges_ += exchange();
      hasBegun_ = true;
    }
  }};
};

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
