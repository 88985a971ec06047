#include "filesystem/walk/Workers.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

using namespace std::chrono_literals;

std::size_t addHelpers(WorkerCount& count) {
  std::size_t added = 0;
  while (count.addHelper()) ++added;
  return added;
}

TEST(WorkersTest, WaitingWorkersGetHelpersAndUsersShareThem) {
  const std::size_t processors = std::thread::hardware_concurrency();
  if (processors < 2) GTEST_SKIP() << "needs two processors";
  WorkerPool pool;
  WorkerCount first({pool, 501});
  const auto inMemory = std::min(processors, WorkerCount::maximum) - 1;
  EXPECT_EQ(addHelpers(first), inMemory);
  first.note(4ms, 10ms);
  EXPECT_EQ(addHelpers(first), 0u);
  for (int i = 0; i < 50; ++i) first.note(10ms, 10ms);
  EXPECT_EQ(addHelpers(first), WorkerCount::maximum - 1 - inMemory);
  EXPECT_FALSE(first.hasTooMany());

  // One of the pool is left for another user, who may claim half of it.
  WorkerCount second({pool, 502});
  for (int i = 0; i < 50; ++i) second.note(10ms, 10ms);
  EXPECT_EQ(addHelpers(second), 1u);
  EXPECT_FALSE(second.hasTooMany());
  std::size_t ended = 0;
  for (; first.hasTooMany(); ++ended) first.removeHelper();
  EXPECT_EQ(ended, WorkerCount::maximum - 1 - WorkerPool::size / 2);
  EXPECT_EQ(addHelpers(first), 0u);
  EXPECT_EQ(addHelpers(second), WorkerPool::size / 2 - 1);

  // Workers that wait no longer are too many.
  for (int i = 0; i < 50; ++i) second.note(0ms, 10ms);
  EXPECT_TRUE(second.hasTooMany());
  for (std::size_t i = 0; i < WorkerPool::size / 2; ++i) {
    first.removeHelper();
    second.removeHelper();
  }
}

}  // namespace
}  // namespace qrt
