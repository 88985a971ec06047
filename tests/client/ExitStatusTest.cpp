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
      {posixErrorDomain, 4, 1},
      {posixErrorDomain, 13, 1},
      {posixErrorDomain, 22, 1},
      {posixErrorDomain, 78, 1},
      {posixErrorDomain, 89, 3},
      {posixErrorDomain, 4097, 1},
      {osStatusErrorDomain, -60005, 3},
      {osStatusErrorDomain, -60006, 3},
      {osStatusErrorDomain, -60007, 3},
      {osStatusErrorDomain, -60010, 3},
      {osStatusErrorDomain, -50, 1},
      {cocoaErrorDomain, 4, 4},
      {cocoaErrorDomain, 260, 4},
      {cocoaErrorDomain, 1, 1},
      {cocoaErrorDomain, 513, 1},
      {cocoaErrorDomain, 4097, 6},
      {cocoaErrorDomain, 4099, 6},
      {"com.vantor.error.privileged-operation", 0, 0},
      {"com.vantor.error.privileged-operation", 1, 1},
      {"com.vantor.error.privileged-operation", 4, 1},
      {"com.vantor.error.privileged-operation", 87654321, 1},
  };
  for (const auto& [domain, code, status] : cases) {
    EXPECT_EQ(static_cast<int>(exitStatusFor({std::string(domain), code, {}})), status)
        << domain << ' ' << code;
  }
}

}  // namespace
}  // namespace qrt
