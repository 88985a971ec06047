#include "platform/posix/NativeError.h"

#include <gtest/gtest.h>

#include <map>

namespace qrt {
namespace {

#ifdef __linux__
/// Numbers of this system's kernel and of the home platform, side by side, from where they part.
const std::map<int, int> expected{
    {11, 35},  {35, 11},  {36, 63},  {37, 77},  {38, 78},   {39, 66},   {40, 62},  {42, 91},
    {43, 90},  {60, 99},  {61, 93},  {62, 101}, {63, 98},   {66, 71},   {67, 97},  {71, 100},
    {72, 95},  {74, 94},  {75, 84},  {84, 92},  {87, 68},   {88, 38},   {89, 39},  {90, 40},
    {91, 41},  {92, 42},  {93, 43},  {94, 44},  {95, 45},   {96, 46},   {97, 47},  {98, 48},
    {99, 49},  {100, 50}, {101, 51}, {102, 52}, {103, 53},  {104, 54},  {105, 55}, {106, 56},
    {107, 57}, {108, 58}, {109, 59}, {110, 60}, {111, 61},  {112, 64},  {113, 65}, {114, 37},
    {115, 36}, {116, 70}, {122, 69}, {125, 89}, {130, 105}, {131, 104},
};

TEST(NativeError, HasTheNumbersOfTheHomePlatform) {
  for (int native = -1; native < 4096; ++native) {
    const auto found = expected.find(native);
    const bool isCommon = native >= 0 && native < 35;
    const int otherwise = isCommon ? native : number(PosixCode::inputOutput);
    const int code = found == expected.end() ? otherwise : found->second;
    EXPECT_EQ(number(contractCode(native)), code) << native;
  }
}
#else
TEST(NativeError, IsTheContractOnTheHomePlatform) {
  for (int native = 0; native <= 106; ++native) {
    const int expected = native == EOPNOTSUPP ? ENOTSUP : native;
    EXPECT_EQ(number(contractCode(native)), expected);
  }
}
#endif

}  // namespace
}  // namespace qrt
