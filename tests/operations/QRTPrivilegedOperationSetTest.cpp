#include "operations/QRTPrivilegedOperationSet.h"

#include <gmock/gmock.h>

#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

/// "!" marks an operation without a password, "%" progress and ">" live output.
TEST(OperationCatalogue, HasTheCodesAndIdentifiersThatClientsUse) {
  std::string contract;
  for (const auto* record = privilegedOperationCatalogue; record->code != 9999; ++record) {
    contract += std::to_string(record->code) + " " + record->identifier +
                (record->authenticationPolicy == 0 ? "!" : "") +
                (record->capabilities.progressFeedback ? "%" : "") +
                (record->capabilities.liveOutput ? ">" : "") + ", ";
    EXPECT_LE(record->authenticationPolicy, 1u);
    const std::string presentation = record->userPresentation;
    EXPECT_TRUE(presentation.starts_with("Corvexa likes to ") && presentation.ends_with("."));
  }
  EXPECT_EQ(contract,
            "9998 nop!, 9997 discard-auth!, 9996 delete-files, 9995 prepare-uninstall, 9994 "
            "perform-uninstall, 0 modify-systemfile, 1 create-fileobject, 2 rename-fileobject, 3 "
            "delete-fileobjects%, 4 delete-foldercontents%, 5 inspect-fileobject, 6 "
            "touch-fileobject, 7 modify-protection, 8 modify-hfsattr, 9 create-link, 10 "
            "search-agedfiles%, 11 search-filenames%, 12 search-patterns%, 13 "
            "search-fileorphans%, 14 inspect-storagesize, 15 modify-kernelsetting, 16 "
            "modify-nvram, 17 modify-preferences, 18 modify-sysconf, 19 signal-process, 20 "
            "modify-acl, 21 prop-permissions%, 22 execute-utility>, 23 enable-ipvsix, 24 "
            "rename-stashfolder, 25 create-installmedia>, 26 erase-diskblocks, 27 "
            "write-smcvalue, ");
}

TEST(QRTPrivilegedOperation, AcceptsOnlyConsistentRecords) {
  using Capabilities = QRTPrivilegedOperationStaticDescription::Capabilities;
  enum Fate { accepted, refused, refusedAndLogged };
  const Capabilities none, progress{.progressFeedback = true},
      both{.progressFeedback = true, .liveOutput = true};
  const auto init = [](const QRTPrivilegedOperationStaticDescription& record, Fate fate) {
    test::RecordingLog log;
    EXPECT_EQ(QRTPrivilegedOperation::initWithStaticDescription(record, log).has_value(),
              fate == accepted);
    const std::string line =
        "(null): implementation error - static description with code 7 contains inconsistent data "
        "and was not accepted.";
    EXPECT_EQ(log.texts(), std::vector<std::string>(fate == refusedAndLogged ? 1 : 0, line));
  };
  init({7, "a-b", 1, none, 2, "SN", "Text."}, accepted);
  init({7, "a", 0, none, 0, "", "Text."}, accepted);
  init({7, "a", 2, progress, NSNotFound, nullptr, "Text."}, accepted);
  init({7, nullptr, 1, none, 0, nullptr, "Text."}, refused);
  init({7, "a", 1, none, 0, nullptr, nullptr}, refused);
  init({7, "a", 3, none, 0, nullptr, "Text."}, refused);
  init({7, "a", 1, none, 0, "S", "Text."}, refusedAndLogged);
  init({7, "a", 1, none, 1, nullptr, "Text."}, refusedAndLogged);
  init({7, "a", 1, none, NSNotFound, "S", "Text."}, refusedAndLogged);
  init({7, "a", 1, both, 0, nullptr, "Text."}, refusedAndLogged);
  init({7, "a", 1, none, 0, nullptr, ""}, refusedAndLogged);
}

std::optional<QRTPrivilegedOperation> operation(const char* identifier,
                                                const PropertyValue& policy = "allow") {
  return QRTPrivilegedOperation::initWithIdentifier(identifier, policy, false, false, 0, {}, "T.");
}

TEST(QRTPrivilegedOperation, PoliciesAreRightDefinitions) {
  EXPECT_TRUE(operation("a", "rule") && operation("a", Dictionary{{"rule", "default"}}));
  EXPECT_FALSE(operation("a", "") || operation("a", Dictionary()) || operation("a", 1));
}

TEST(QRTPrivilegedOperation, AStemHasTheLettersOfEachWordWithACapital) {
  const std::pair<const char*, const char*> cases[] = {
      {"delete-foldercontents", "DeleteFoldercontents"},
      {"1a-2bC", "ABc"},
      {"x_y.z", "Xyz"},
      {"gr\xc3\xb6\xc3\x9f-b", "GrB"},
      {"42", ""},
  };
  for (const auto& [identifier, stem] : cases) {
    EXPECT_EQ(operation(identifier)->operationIdentifierForExecutionSelector(), stem);
  }
}

constexpr QRTPrivilegedOperationStaticDescription small[] = {
    {1, "first", 0, {}, 0, nullptr, "First."},
    {2, "broken", 1, {}, 2, "S", "Broken."},
    {3, "third-one", 2, {}, 0, nullptr, "Third."},
    {endOfCatalogue, nullptr, 0, {}, 0, nullptr, nullptr},
};

class QRTPrivilegedOperationSetTest : public testing::Test {
 protected:
  test::RecordingLog log;
  test::FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 set{log, authority, small};
  std::unique_ptr<Authorization> authorization = std::move(authority.create()).value();

  void SetUp() override { authority.takeCalls(); }
};

TEST_F(QRTPrivilegedOperationSetTest, OnlyCatalogueOperationsHaveCodesAndRights) {
  EXPECT_EQ(set.authorizationRightNameForOperationWithIdentifier("broken"), std::nullopt);
  EXPECT_EQ(operation("a")->authenticationRightNameForImplementationIdentifier(""), std::nullopt);
  EXPECT_EQ(set.nameOfXPCRequestorForHelper(), "com.vantor.xpc.privilegerequestor-vk2");
  EXPECT_EQ(set.opCodeForOperation(&set.implementedOperations().at("third-one")), 3u);
  EXPECT_EQ(set.opCodeForOperation(nullptr), 0x7fffffffffffffffu);
  const auto stranger = operation("stranger");
  EXPECT_EQ(set.opCodeForOperation(&*stranger), 0x7fffffffffffffffu);
}

TEST_F(QRTPrivilegedOperationSetTest, InstallsOnlyRightsThatAreMissing) {
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(nullptr);
  EXPECT_TRUE(authority.rights().empty());

  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  const std::map<std::string, test::FakeAuthority::Right> expected = {
      {"com.vantor.vk2.first", {"allow", "First.", "PrivilegedOperations"}},
      {"com.vantor.vk2.third-one", {"authenticate-admin", "Third.", "PrivilegedOperations"}}};
  EXPECT_EQ(authority.rights(), expected);
  EXPECT_EQ(authority.takeCalls().size(), 2u);

  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  EXPECT_TRUE(authority.calls().empty());
}

TEST_F(QRTPrivilegedOperationSetTest, ARightThatIsRefusedIsLoggedAndTheOthersAreSet) {
  authority.rightSetStatus = AuthorizationStatus::internal;
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  authority.rightSetStatus = AuthorizationStatus::noError;
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  authority.rightRemoveStatus = AuthorizationStatus::internal;
  set.removeAuthorizationRightsForImplementedOperationsUsingAuthorization(*authorization);
  const std::string refused = "Authorization database did not accept right definition for ",
                    kept = "Authorization database did not remove right definition for ";
  EXPECT_THAT(
      log.texts(),
      testing::ElementsAre(testing::HasSubstr("code 2"), refused + "'com.vantor.vk2.first'!",
                           refused + "'com.vantor.vk2.third-one'!",
                           kept + "'com.vantor.vk2.first'!", kept + "'com.vantor.vk2.third-one'!"));
  EXPECT_EQ(log.lines().back().level, LogLevel::error);
}

}  // namespace
}  // namespace qrt
