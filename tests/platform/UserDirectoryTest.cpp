#include "platform/UserDirectory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "platform/NativePlatform.h"

namespace qrt {
namespace {

TEST(UserDirectory, ListsAndFindsTheUsersOfThisSystem) {
  const NativePlatform platform;
  auto& users = platform.facilities().users;
  constexpr std::uint32_t nobodys = 0x7ABCDEF1;
  const auto look = [&] {
    for (int round = 0; round < 20; ++round) {
      const auto listed = users.listedUserIDs();
      EXPECT_TRUE(listed.contains(0));
      EXPECT_GT(listed.size(), 5u);
      EXPECT_FALSE(listed.contains(nobodys));
      for (const auto id : listed) EXPECT_TRUE(users.isKnownUserID(id)) << id;
      EXPECT_FALSE(users.isKnownUserID(nobodys));
    }
  };
  // Two searches at the same time share one list.
  std::thread other(look);
  look();
  other.join();
}

}  // namespace
}  // namespace qrt
