#include "operations/QRTPrivilegedOperationSet.h"

#include <gtest/gtest.h>

#include <thread>

#include "operations/OperationSetFactories.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using test::FakeAuthority;
using Environment = QRTPrivilegedOperationSet::OwnedAuthorizationEnvironment;

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

TEST_F(QRTPrivilegedOperationSetTest, LeavesOutWhatIsInconsistent) {
  EXPECT_EQ(set.opIdentifiersByCode(),
            (QRTPrivilegedOperationSet::OpIdentifiersByCode{{1, "first"}, {3, "third-one"}}));
  EXPECT_EQ(set.implementedOperations().size(), 2u);
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(QRTPrivilegedOperationSetTest, TheFirstRecordIsAlwaysProcessed) {
  constexpr QRTPrivilegedOperationStaticDescription odd[] = {
      {endOfCatalogue, "odd", 0, {}, 0, nullptr, "Odd."}, small[3]};
  const QRTPrivilegedOperationSetVK2 oddSet(log, authority, odd);
  EXPECT_EQ(oddSet.opIdentifiersByCode().at(9999), "odd");
}

TEST_F(QRTPrivilegedOperationSetTest, NamesAndVersion) {
  EXPECT_EQ(set.implementationCode(), "vk2");
  EXPECT_EQ(set.implementationVersion(), "1.6");
  EXPECT_EQ(set.serviceIdentifierForHelper(), "com.vantor.system.privilegedhelper-vk2");
  EXPECT_EQ(set.nameOfXPCRequestorForHelper(), "com.vantor.xpc.privilegerequestor-vk2");
  EXPECT_EQ(set.minimumHelperVersionImplementingSelfUninstall(), 1.5f);
  EXPECT_EQ(set.QRTPrivilegedOperationSet::minimumHelperVersionImplementingSelfUninstall(), 1.0f);
  EXPECT_EQ(set.authorizationRightNameForOperationWithIdentifier("first"), "com.vantor.vk2.first");
  EXPECT_EQ(set.authorizationRightNameForOperationWithIdentifier("broken"), std::nullopt);
  EXPECT_EQ(set.errorForAuthorizationServicesFailure().code, 87654321);
}

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

TEST_F(QRTPrivilegedOperationSetTest, LeavesRightsAloneWhenTheDatabaseAnswersOtherwise) {
  authority.rightGetStatuses = {{"com.vantor.vk2.first", AuthorizationStatus::internal}};
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  EXPECT_EQ(authority.rights().size(), 1u);
  authority.takeCalls();

  set.removeAuthorizationRightsForImplementedOperationsUsingAuthorization(*authorization);
  EXPECT_EQ(authority.calls(),
            (std::vector<FakeAuthority::Call>{{"rightRemove", "com.vantor.vk2.third-one"}}));
  EXPECT_TRUE(authority.rights().empty());
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

TEST(AuthorizationEnvironment, HoldsAnItemForEachTextThatIsNotEmpty) {
  using Items = std::vector<FakeAuthority::Item>;
  const std::string zero(1, '\0');
  const auto itemsOf = [](const Environment& environment) {
    Items items;
    for (std::uint32_t i = 0; i < environment->count; ++i) {
      const auto& item = environment->items[i];
      EXPECT_EQ(item.flags, 0u);
      items.push_back({item.name, {static_cast<const char*>(item.value), item.valueLength}});
    }
    return items;
  };
  const auto make = QRTPrivilegedOperationSet::createAuthorizationEnvironmentForRightPrompt;
  EXPECT_EQ(itemsOf(make("Really?", "/icon.png")),
            (Items{{"prompt", "Really?" + zero}, {"icon", "/icon.png" + zero}}));
  EXPECT_EQ(itemsOf(make("", "/icon.png")), (Items{{"icon", "/icon.png" + zero}}));
  const auto empty = make("", "");
  EXPECT_EQ(empty->count, 0u);
  EXPECT_EQ(empty->items, nullptr);
}

TEST(AuthorizationEnvironment, FreesWhatIsThere) {
  const auto freeEnvironment = QRTPrivilegedOperationSet::freeAuthorizationEnvironment;
  freeEnvironment(nullptr);
  // A count without items is not looked at.
  freeEnvironment(new AuthorizationEnvironment{3, nullptr});
  freeEnvironment(
      new AuthorizationEnvironment{1, new AuthorizationItem[1]{{"icon", 0, nullptr, 0}}});
}

TEST(OperationSetFactories, KnowThePrincipalClass) {
  EXPECT_EQ(operationSetFactoryForClass("NSObject"), nullptr);
  EXPECT_EQ(operationSetFactoryForClass(""), nullptr);
  EXPECT_NE(operationSetFactoryForClass("QRTPrivilegedOperationSetVK2"), nullptr);
}

TEST(OperationSetFactories, TheProcessHasOneSet) {
  static test::RecordingLog log;
  static FakeAuthority authority;
  const auto factory = operationSetFactoryForClass("QRTPrivilegedOperationSetVK2");
  std::vector<QRTPrivilegedOperationSet*> seen(8);
  std::vector<std::thread> threads;
  for (auto& slot : seen) {
    threads.emplace_back([&slot, factory] {
      slot = &QRTPrivilegedOperationSet::privilegedOperationSet(factory, log, authority);
    });
  }
  for (auto& thread : threads) thread.join();
  const auto neverCalled = [](Log&, Authority&) -> std::unique_ptr<QRTPrivilegedOperationSet> {
    ADD_FAILURE() << "a second set was made";
    return nullptr;
  };
  seen.push_back(&QRTPrivilegedOperationSet::privilegedOperationSet(neverCalled, log, authority));
  EXPECT_EQ(std::count(seen.begin(), seen.end(), seen.front()), 9);
  EXPECT_EQ(seen.front()->implementationVersion(), "1.6");
}

}  // namespace
}  // namespace qrt
