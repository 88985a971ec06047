#include "operations/QRTPrivilegedOperationSet.h"

#include <gtest/gtest.h>

#include "operations/OperationCatalogue.h"
#include "operations/OperationSetFactories.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

TEST(OperationCatalogue, IsTheContractThatClientsWereBuiltWith) {
  using Codes = std::vector<std::uint64_t>;
  Codes codes, withoutPassword, withProgress, withOutput;
  std::string identifiers;
  for (const auto* record = privilegedOperationCatalogue; record->code != 9999; ++record) {
    codes.push_back(record->code);
    identifiers += std::string(record->identifier) + " ";
    EXPECT_LE(record->authenticationPolicy, 1u);
    if (record->authenticationPolicy == 0) withoutPassword.push_back(record->code);
    if (record->capabilities.progressFeedback) withProgress.push_back(record->code);
    if (record->capabilities.liveOutput) withOutput.push_back(record->code);
    // One sentence that the prompt can show as it is.
    const std::string presentation = record->userPresentation;
    EXPECT_TRUE(presentation.starts_with("Corvexa likes to ") && presentation.ends_with("."));
  }
  Codes expected{9998, 9997, 9996, 9995, 9994};
  for (std::uint64_t code = 0; code <= 27; ++code) expected.push_back(code);
  EXPECT_EQ(codes, expected);
  EXPECT_EQ(withoutPassword, (Codes{9998, 9997}));
  EXPECT_EQ(withProgress, (Codes{3, 4, 10, 11, 12, 13, 21}));
  EXPECT_EQ(withOutput, (Codes{22, 25}));
  EXPECT_EQ(identifiers,
            "nop discard-auth delete-files prepare-uninstall perform-uninstall modify-systemfile "
            "create-fileobject rename-fileobject delete-fileobjects delete-foldercontents "
            "inspect-fileobject touch-fileobject modify-protection modify-hfsattr create-link "
            "search-agedfiles search-filenames search-patterns search-fileorphans "
            "inspect-storagesize modify-kernelsetting modify-nvram modify-preferences "
            "modify-sysconf signal-process modify-acl prop-permissions execute-utility "
            "enable-ipvsix rename-stashfolder create-installmedia erase-diskblocks "
            "write-smcvalue ");
}

using Capabilities = QRTPrivilegedOperationStaticDescription::Capabilities;

TEST(QRTPrivilegedOperation, AcceptsOnlyConsistentRecords) {
  enum Fate { accepted, refused, refusedAndLogged };
  const Capabilities none, progress{.progressFeedback = true},
      both{.progressFeedback = true, .liveOutput = true};
  const std::pair<QRTPrivilegedOperationStaticDescription, Fate> cases[] = {
      {{7, "a-b", 1, none, 2, "SN", "Text."}, accepted},
      {{7, "a", 0, none, 0, "", "Text."}, accepted},
      {{7, "a", 2, progress, NSNotFound, nullptr, "Text."}, accepted},
      {{7, nullptr, 1, none, 0, nullptr, "Text."}, refused},
      {{7, "a", 1, none, 0, nullptr, nullptr}, refused},
      {{7, "a", 3, none, 0, nullptr, "Text."}, refused},
      {{7, "a", 1, none, 0, "S", "Text."}, refusedAndLogged},
      {{7, "a", 1, none, 1, nullptr, "Text."}, refusedAndLogged},
      {{7, "a", 1, none, NSNotFound, "S", "Text."}, refusedAndLogged},
      {{7, "a", 1, both, 0, nullptr, "Text."}, refusedAndLogged},
      {{7, "a", 1, none, 0, nullptr, ""}, refusedAndLogged},
  };
  for (const auto& [record, fate] : cases) {
    test::RecordingLog log;
    EXPECT_EQ(QRTPrivilegedOperation::initWithStaticDescription(record, log).has_value(),
              fate == accepted);
    if (fate != refusedAndLogged) {
      EXPECT_TRUE(log.lines().empty());
      continue;
    }
    EXPECT_EQ(log.texts(), std::vector<std::string>{
                               "(null): implementation error - static description with code 7 "
                               "contains inconsistent data and was not accepted."});
  }
}

TEST(QRTPrivilegedOperation, PoliciesAreRightDefinitions) {
  const auto isPolicy = [](const PropertyValue& policy) {
    return QRTPrivilegedOperation::initWithIdentifier("a", policy, false, false, 0, {}, "Text.")
        .has_value();
  };
  EXPECT_TRUE(isPolicy("rule") && isPolicy(Dictionary{{"rule", "default"}}));
  const auto named =
      QRTPrivilegedOperation::initWithIdentifier("a", "allow", false, false, 0, {}, "Text.");
  EXPECT_EQ(named->authenticationRightNameForImplementationIdentifier(""), std::nullopt);
  EXPECT_FALSE(isPolicy("") || isPolicy(Dictionary()) || isPolicy(1));
}

TEST(QRTPrivilegedOperation, StemsKeepLettersAndCapitalizeWords) {
  const std::pair<const char*, const char*> cases[] = {
      {"delete-foldercontents", "DeleteFoldercontents"},
      {"enable-ipvsix", "EnableIpvsix"},
      {"1a-2bC", "ABc"},
      {"x_y.z", "Xyz"},
      {"gr\xc3\xb6\xc3\x9f"
       "e-b",
       "GreB"},
      {"42", ""},
  };
  for (const auto& [identifier, stem] : cases) {
    const auto operation =
        QRTPrivilegedOperation::initWithIdentifier(identifier, "allow", false, false, 0, {}, "T.");
    EXPECT_EQ(operation->operationIdentifierForExecutionSelector(), stem) << identifier;
  }
}

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
  EXPECT_EQ(set.authorizationRightNameForOperationWithIdentifier("broken"), std::nullopt);
  EXPECT_EQ(set.nameOfXPCRequestorForHelper(), "com.vantor.xpc.privilegerequestor-vk2");
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

}  // namespace
}  // namespace qrt
