#include "platform/UserDirectory.h"

#include <gtest/gtest.h>

#include <future>

#include "platform/NativePlatform.h"

namespace qrt {
namespace {

TEST(UserDirectory, SearchesAtTheSameTimeDoNotTakeUsersFromEachOthersLists) {
  const NativePlatform platform;
  auto& users = platform.facilities().users;
  const auto list = [&users] { return users.listedUserIDs(); };
  const auto listed = list();
  std::future<UserIDs> lists[8];
  for (auto& each : lists) each = std::async(std::launch::async, list);
  for (auto& each : lists) EXPECT_EQ(each.get(), listed);
}

}  // namespace
}  // namespace qrt
