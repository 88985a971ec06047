#include "platform/linux/LargeMessageTurn.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

namespace qrt {
namespace {

TEST(LargeMessageTurnTest, FewHaveTheirTurnAtATimeAndAllComeToIt) {
  std::atomic<int> now = 0, most = 0, had = 0;
  std::optional<LargeMessageTurn> held[LargeMessageTurn::turnsAtATime];
  for (auto& turn : held) turn.emplace();
  std::vector<std::thread> others;
  for (int i = 0; i < 16; ++i) {
    others.emplace_back([&] {
      const LargeMessageTurn turn;
      const int here = ++now;
      for (int seen = most; seen < here && !most.compare_exchange_weak(seen, here);) continue;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      --now;
      ++had;
    });
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(had, 0) << "while others have theirs";
  for (auto& turn : held) turn.reset();
  for (auto& other : others) other.join();
  EXPECT_EQ(had, 16);
  EXPECT_EQ(most, static_cast<int>(LargeMessageTurn::turnsAtATime));
}

}  // namespace
}  // namespace qrt
