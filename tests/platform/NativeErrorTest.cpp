#include "platform/posix/NativeError.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

/// Of the numbers that differ between systems, those that a client meets most.
TEST(NativeError, HasTheNumbersOfTheHomePlatform) {
  const std::pair<int, int> rows[] = {
      {0, 0},           {EPERM, 1},      {EDEADLK, 11},   {ERANGE, 34},       {EAGAIN, 35},
      {EOPNOTSUPP, 45}, {ETIMEDOUT, 60}, {ELOOP, 62},     {ENAMETOOLONG, 63}, {ENOTEMPTY, 66},
      {EDQUOT, 69},     {ENOSYS, 78},    {EOVERFLOW, 84}, {ECANCELED, 89}};
  for (const auto& [native, code] : rows) EXPECT_EQ(number(contractCode(native)), code);
#ifdef __linux__
  for (const int unknown : {-1, 41, 4095}) {
    EXPECT_EQ(contractCode(unknown), PosixCode::inputOutput);
  }
#endif
}

}  // namespace
}  // namespace qrt
