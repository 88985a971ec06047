#include "platform/posix/NativeError.h"

#include <gtest/gtest.h>

#include <map>

namespace qrt {
namespace {

#ifdef __linux__
/// Numbers of this system's kernel and of the home platform, side by side.
const std::map<int, int> expected{
    {0, 0},    {1, 1},    {2, 2},    {3, 3},    {4, 4},    {5, 5},    {6, 6},     {7, 7},
    {8, 8},    {9, 9},    {10, 10},  {11, 35},  {12, 12},  {13, 13},  {14, 14},   {15, 15},
    {16, 16},  {17, 17},  {18, 18},  {19, 19},  {20, 20},  {21, 21},  {22, 22},   {23, 23},
    {24, 24},  {25, 25},  {26, 26},  {27, 27},  {28, 28},  {29, 29},  {30, 30},   {31, 31},
    {32, 32},  {33, 33},  {34, 34},  {35, 11},  {36, 63},  {37, 77},  {38, 78},   {39, 66},
    {40, 62},  {42, 91},  {43, 90},  {60, 99},  {61, 93},  {62, 101}, {63, 98},   {66, 71},
    {67, 97},  {71, 100}, {72, 95},  {74, 94},  {75, 84},  {84, 92},  {87, 68},   {88, 38},
    {89, 39},  {90, 40},  {91, 41},  {92, 42},  {93, 43},  {94, 44},  {95, 45},   {96, 46},
    {97, 47},  {98, 48},  {99, 49},  {100, 50}, {101, 51}, {102, 52}, {103, 53},  {104, 54},
    {105, 55}, {106, 56}, {107, 57}, {108, 58}, {109, 59}, {110, 60}, {111, 61},  {112, 64},
    {113, 65}, {114, 37}, {115, 36}, {116, 70}, {122, 69}, {125, 89}, {130, 105}, {131, 104},
};

TEST(NativeError, HasTheNumbersOfTheHomePlatform) {
  for (int native = -1; native < 4096; ++native) {
    const auto found = expected.find(native);
    const int code = found == expected.end() ? number(PosixCode::inputOutput) : found->second;
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
