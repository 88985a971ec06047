#include "platform/UserDirectory.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "platform/NativePlatform.h"

namespace qrt {
namespace {

TEST(UserDirectory, ListsAndFindsTheUsersOfThisSystem) {
  const NativePlatform platform;
  auto& users = platform.facilities().users;
  constexpr std::uint32_t nobodys = 0x7ABCDEF1;
  std::vector<std::future<UserIDs>> lists;
  // Searches at the same time do not take users from each other's lists.
  for (int i = 0; i < 8; ++i) {
    lists.push_back(std::async(std::launch::async, [&] { return users.listedUserIDs(); }));
  }
  const auto listed = users.listedUserIDs();
  EXPECT_TRUE(listed.contains(0));
  for (auto& list : lists) EXPECT_EQ(list.get(), listed);
  for (const auto id : listed) EXPECT_TRUE(users.isKnownUserID(id)) << id;
  EXPECT_FALSE(listed.contains(nobodys) || users.isKnownUserID(nobodys));
}

}  // namespace
}  // namespace qrt
