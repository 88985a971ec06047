#include "operations/QRTPrivilegedOperationSet.h"

#include <gtest/gtest.h>

#include "operations/OperationSetFactories.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::FakeAuthority;

constexpr QRTPrivilegedOperationStaticDescription small[] = {
    {1, "first", 0, {}, 0, nullptr, "First."},
    {2, "broken", 1, {}, 2, "S", "Broken."},
    {3, "third-one", 2, {}, 0, nullptr, "Third."},
    {endOfCatalogue, nullptr, 0, {}, 0, nullptr, nullptr},
};

class QRTPrivilegedOperationSetTest : public testing::Test {
 protected:
  test::RecordingLog log;
  FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 set{log, authority, small};
  std::unique_ptr<Authorization> authorization = std::move(authority.create()).value();

  void SetUp() override { authority.takeCalls(); }
};

TEST_F(QRTPrivilegedOperationSetTest, CodesOfOperations) {
  EXPECT_EQ(set.opCodeForOperation(&set.implementedOperations().at("third-one")), 3u);
  EXPECT_EQ(set.opCodeForOperation(nullptr), 0x7fffffffffffffffu);
  const auto stranger =
      QRTPrivilegedOperation::initWithIdentifier("stranger", "allow", false, false, 0, {}, "T.");
  EXPECT_EQ(set.opCodeForOperation(&*stranger), 0x7fffffffffffffffu);
}

TEST_F(QRTPrivilegedOperationSetTest, InstallsOnlyRightsThatAreMissing) {
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(nullptr);
  EXPECT_TRUE(authority.rights().empty());

  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  const std::map<std::string, FakeAuthority::Right> expected = {
      {"com.vantor.vk2.first", {"allow", "First.", "PrivilegedOperations"}},
      {"com.vantor.vk2.third-one", {"authenticate-admin", "Third.", "PrivilegedOperations"}}};
  EXPECT_EQ(authority.rights(), expected);
  EXPECT_EQ(authority.takeCalls().size(), 2u);

  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  EXPECT_TRUE(authority.calls().empty());
}

TEST_F(QRTPrivilegedOperationSetTest, GoesOnAfterARightThatIsRefused) {
  using Lines = std::vector<test::RecordingLog::Line>;
  const auto before = log.lines().size();
  const auto newLines = [&] {
    const auto lines = log.lines();
    return Lines(lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end());
  };
  authority.rightSetStatus = AuthorizationStatus::internal;
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  authority.rightGetStatuses = {{"com.vantor.vk2.first", AuthorizationStatus::noError}};
  authority.rightRemoveStatus = AuthorizationStatus::internal;
  set.removeAuthorizationRightsForImplementedOperationsUsingAuthorization(*authorization);
  EXPECT_EQ(newLines(), (Lines{{LogLevel::error,
                                "Authorization database did not accept right definition for "
                                "'com.vantor.vk2.first'!"},
                               {LogLevel::error,
                                "Authorization database did not accept right definition for "
                                "'com.vantor.vk2.third-one'!"},
                               {LogLevel::error,
                                "Authorization database did not remove right definition for "
                                "'com.vantor.vk2.first'!"}}));
}

TEST(OperationSetFactories, KnowThePrincipalClass) {
  EXPECT_EQ(operationSetFactoryForClass("NSObject"), nullptr);
  EXPECT_EQ(operationSetFactoryForClass(""), nullptr);
  EXPECT_NE(operationSetFactoryForClass("QRTPrivilegedOperationSetVK2"), nullptr);
}

}  // namespace
}  // namespace qrt
