#include "platform/linux/wire/LargeMessageQueue.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <memory>
#include <vector>

namespace qrt {
namespace {

constexpr std::size_t largest = MessageFrame::maximumLength;
constexpr std::uint32_t root = 0;

class LargeMessageQueueTest : public testing::Test {
 protected:
  using Turn = std::unique_ptr<LargeMessageTurn>;

  Turn ask(std::uint32_t user, std::size_t bytes = largest) {
    return std::make_unique<LargeMessageTurn>(queue_, user, bytes);
  }
  static bool hasCome(const Turn& turn) {
    pollfd event{turn->event(), POLLIN, 0};
    return poll(&event, 1, 0) == 1;
  }

  LargeMessageQueue queue_;
};

TEST_F(LargeMessageQueueTest, OneUserReadsOneAndKeepsTwoOfTheLargest) {
  const auto first = ask(1);
  auto second = ask(1), third = ask(1);
  EXPECT_TRUE(hasCome(first) && !hasCome(second)) << "while the first is read";
  first->endReading();
  EXPECT_TRUE(hasCome(second) && !hasCome(third)) << "while the second is read";
  second->endReading();
  EXPECT_FALSE(hasCome(third)) << "while two are kept";
  EXPECT_TRUE(hasCome(ask(2))) << "what others keep does not count";
  second.reset();
  EXPECT_TRUE(hasCome(third));
}

TEST_F(LargeMessageQueueTest, ServesUsersInTurnAndRootAtOnce) {
  std::vector<Turn> read;
  for (std::uint32_t user = 1; user <= 4; ++user) read.push_back(ask(user));
  std::vector<Turn> heavy;
  for (int i = 0; i < 10; ++i) heavy.push_back(ask(4));
  const auto others = ask(3), newcomers = ask(5), small = ask(6, largest / 2), roots = ask(root);
  EXPECT_TRUE(hasCome(roots));
  EXPECT_FALSE(hasCome(newcomers));

  const std::pair<const Turn*, const char*> order[] = {
      {&others, "user 3 was served before user 4"},
      {&heavy[0], "user 4 was served before the newcomers came"},
      {&newcomers, "the others have been served since"},
      {&small, "it was neither overtaken nor overtook another"}};
  for (const auto& [next, why] : order) {
    // The first two to leave are users 3 and 4, whose own limit they make room in as well.
    read.erase(read.begin() + (read.size() > 2 ? 2 : 0));
    EXPECT_TRUE(hasCome(*next)) << why;
  }
  EXPECT_FALSE(hasCome(heavy[1]));
}

}  // namespace
}  // namespace qrt
