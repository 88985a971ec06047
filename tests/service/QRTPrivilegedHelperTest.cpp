#include "service/QRTPrivilegedHelper.h"

#include <gmock/gmock.h>

#include "ServiceDoubles.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"

namespace qrt {
namespace {

class QRTPrivilegedHelperTest : public testing::Test {
 protected:
  bool registerFor(std::uint32_t user, std::int32_t client) {
    return helper_.registerClientWithPID({.userID = user}, client);
  }

  test::ServicePlatform doubles_;
  QRTPrivilegedOperationSetVK2 operations_{doubles_.log, doubles_.authority};
  QRTPrivilegedHelper& helper_ =
      *QRTPrivilegedHelper::initForOperationSet(&operations_, doubles_.platform);
};

TEST_F(QRTPrivilegedHelperTest, AcceptsOnlyFromItsOwnListener) {
  struct Connection : IncomingConnection {
    QRTPrivilegedHelperProtocol* exported = nullptr;
    bool resumed = false;
    void setExportedObject(QRTPrivilegedHelperProtocol& object) override { exported = &object; }
    void resume() override { resumed = exported != nullptr; }
  } connection;
  test::FakeTransport foreign;
  const auto foreignListener = foreign.makeListener("other");
  auto& own = *doubles_.transport.listener;
  EXPECT_EQ(doubles_.transport.serviceIdentifier, "com.vantor.system.privilegedhelper-vk2");
  EXPECT_FALSE(helper_.shouldAcceptNewConnection(*foreignListener, &connection));
  EXPECT_FALSE(helper_.shouldAcceptNewConnection(own, nullptr));
  EXPECT_FALSE(connection.exported || connection.resumed);
  EXPECT_EQ(doubles_.log.texts().back(), "Received bad XPC connection request. Ignoring...");
  EXPECT_TRUE(helper_.shouldAcceptNewConnection(own, &connection));
  EXPECT_TRUE(connection.resumed);
  EXPECT_EQ(connection.exported, &helper_);
}

TEST_F(QRTPrivilegedHelperTest, AUserWithTooManyClientsDoesNotAffectOtherUsers) {
  constexpr std::int32_t limit = ClientSet::maximumOfOneUser;
  for (std::int32_t client = 0; client < limit; ++client) {
    ASSERT_TRUE(registerFor(1000, client)) << client;
  }
  const struct {
    std::uint32_t user;
    std::int32_t client;
    bool isRegistered;
  } cases[] = {{1000, limit, false}, {1000, 5, true},     {1001, 5, true},
               {1001, limit, true},  {1000, limit, true}, {1000, limit + 1, false},
               {0, limit + 1, true}, {0, limit + 2, true}};
  for (const auto& [user, client, isRegistered] : cases) {
    EXPECT_EQ(registerFor(user, client), isRegistered) << user << " " << client;
  }
  // Another process unregisters a client that counts against the user.
  helper_.unregisterClientWithPID({}, 5);
  EXPECT_TRUE(registerFor(1000, -1));
  EXPECT_FALSE(registerFor(1000, 5));

  for (std::int32_t client = -1; client < limit + 2; ++client) {
    helper_.unregisterClientWithPID({}, client);
  }
  EXPECT_FALSE(doubles_.transport.invalidated);
  EXPECT_THROW(helper_.unregisterClientWithPID({.userID = 0}, limit + 2), test::FakeSelf::Exited);
  EXPECT_TRUE(doubles_.transport.invalidated);
  EXPECT_THAT(doubles_.log.texts(),
              testing::IsSupersetOf({"Beginning work for client 5.", "Finishing work for client 5.",
                                     "0 clients remaining.", "Terminating privileged helper."}));
}

}  // namespace
}  // namespace qrt
