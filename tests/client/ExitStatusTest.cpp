#include "client/cli/ExitStatus.h"

#include <gtest/gtest.h>

namespace qrt {
namespace {

TEST(ExitStatus, FollowsDomainAndCode) {
  struct Case {
    std::string_view domain;
    std::int64_t code;
    int status;
  };
  const Case cases[] = {
      {posixErrorDomain, 1, 3},
      {posixErrorDomain, 2, 4},
      {posixErrorDomain, 22, 1},
      {posixErrorDomain, 89, 3},
      {osStatusErrorDomain, -60005, 3},
      {osStatusErrorDomain, -60007, 3},
      {osStatusErrorDomain, -50, 1},
      {cocoaErrorDomain, 4, 4},
      {cocoaErrorDomain, 260, 4},
      {cocoaErrorDomain, 513, 1},
      {cocoaErrorDomain, 4099, 6},
      {"com.vantor.error.privileged-operation", 0, 0},
      {"com.vantor.error.privileged-operation", 3, 1},
      {"com.vantor.error.privileged-operation", 87654321, 1},
  };
  for (const auto& [domain, code, status] : cases) {
    EXPECT_EQ(static_cast<int>(exitStatusFor({std::string(domain), code, {}})), status)
        << domain << ' ' << code;
  }
}

TEST(ExitStatus, AProgramsOwnStatusIsPassedOn) {
  const std::pair<Array, int> cases[] = {{{"2"}, 2},   {{"255"}, 255}, {{"-1"}, 1},     {{"0"}, 1},
                                         {{"256"}, 1}, {{"2x"}, 1},    {{"2", "2"}, 1}, {{}, 1}};
  for (const auto& [parameters, status] : cases) {
    const Error error{"com.vantor.error.privileged-operation",
                      3,
                      {{"QRTLocalizedRecoverySuggestionParameters", parameters}}};
    EXPECT_EQ(static_cast<int>(exitStatusFor(error)), status);
  }
}

}  // namespace
}  // namespace qrt
