#include "platform/linux/ProcessFiles.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(ProcessFiles, NamesMayHoldAnything) {
  EXPECT_EQ(commandNameInStat("1 (a) R 2 (\n)) S 0 1"), "a) R 2 (\n)");
  EXPECT_EQ(commandNameInStat("1 () S"), "");
  for (const char* damaged : {"", "1 (init", "1 )init(", "1 init) S"}) {
    EXPECT_EQ(commandNameInStat(damaged), std::nullopt) << damaged;
  }
}

TEST(ProcessFiles, TheSecondUserIsTheEffectiveOne) {
  EXPECT_EQ(effectiveUserInStatus("Name:\tx\nUid:\t1\t2\t3\t4\nGid:\t5\t6\t7\t8\n"), 2u);
  EXPECT_EQ(effectiveUserInStatus("Name:\t\\nUid:\t9\t9\nUid:\t1\t4294967295\t3\t4"), 4294967295u);
  for (const char* damaged : {"Name:\tx\n", "\nUid:\t", "\nUid:\t1", "\nUid:\t1\t99999999999\t3"}) {
    EXPECT_EQ(effectiveUserInStatus(damaged), std::nullopt) << damaged;
  }
}

}  // namespace
}  // namespace qrt
