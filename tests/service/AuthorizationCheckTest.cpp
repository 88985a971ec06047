#include "service/AuthorizationCheck.h"

#include <gtest/gtest.h>

#include "operations/OperationCatalogue.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

class AuthorizationCheckTest : public testing::Test {
 protected:
  test::RecordingLog log_;
  test::FakeAuthority authority_;
  QRTPrivilegedOperationSetVK2 operations_{log_, authority_};

  Outcome check(const Data& data, std::uint64_t code = operation_code::nop,
                const std::string& prompt = "", const std::string& icon = "") {
    return AuthorizationCheck(operations_, authority_, log_)
        .checkAuthorization(data, code, prompt, icon, false);
  }
};

TEST_F(AuthorizationCheckTest, MalformedRequestsNeverReachTheAuthority) {
  for (const auto& [length, code] :
       {std::pair<std::size_t, std::uint64_t>{31, 9998}, {33, 9998}, {0, 9998}, {32, 4711}}) {
    EXPECT_EQ(check(Data(length), code), posixError(PosixCode::invalidArgument));
  }
  EXPECT_TRUE(authority_.calls().empty());
}

TEST_F(AuthorizationCheckTest, MapsWhatTheAuthoritySays) {
  struct Case {
    AuthorizationStatus status;
    Outcome outcome;
  };
  for (const auto& c : {Case{AuthorizationStatus::noError, success},
                        Case{AuthorizationStatus::denied, posixError(PosixCode::notPermitted)},
                        Case{AuthorizationStatus::canceled, posixError(PosixCode::canceled)},
                        Case{AuthorizationStatus::interactionNotAllowed, osStatusError(-60007)}}) {
    authority_.copyRightStatuses = {c.status};
    EXPECT_EQ(check(Data(32)), c.outcome);
    EXPECT_EQ(authority_.takeCalls().back().function, "free");
  }
  EXPECT_EQ(log_.lines().back(),
            (test::RecordingLog::Line{LogLevel::info,
                                      "Privileged helper received failure status -60007 during an "
                                      "attempt to interactively extend rights."}));
}

TEST_F(AuthorizationCheckTest, FormThatIsNotAcceptedIsAFlawOfTheSystem) {
  authority_.createFromExternalFormStatus = AuthorizationStatus::internalizeNotAllowed;
  Data form(32);
  form[0] = 1;
  form[1] = 0xAB;
  const auto outcome = check(form);
  ASSERT_TRUE(outcome);
  EXPECT_EQ(outcome->code, 87654321);
  EXPECT_EQ(log_.lines().back(),
            (test::RecordingLog::Line{
                LogLevel::fault,
                "OS failure detected: valid authorization (01, ab, 00, 00, ...) not internalized, "
                "got ref 0x0 with error -60010."}));
}

TEST_F(AuthorizationCheckTest, AsksForTheRightOfTheOperation) {
  EXPECT_EQ(check(Data(32), 4, "", "/usr/share/icon.png"), success);
  const auto asked = authority_.calls()[1];
  EXPECT_EQ(asked.rightName, "com.vantor.vk2.delete-foldercontents");
  EXPECT_EQ(asked.flags, 3u);
  ASSERT_EQ(asked.environment.size(), 1u);
  EXPECT_EQ(asked.environment[0].name, "icon");
}

TEST(ProcessMetadataDictionary, ReadsOnlyStringsIntoGivenSlots) {
  const Dictionary metadata{{"QRTAuthorizationPrompt", "Please"}, {"QRTAuthorizationIcon", 1}};
  std::string prompt, icon = "unchanged";
  AuthorizationCheck::processMetadataDictionary(metadata, &prompt, &icon);
  EXPECT_EQ(prompt, "Please");
  EXPECT_EQ(icon, "unchanged");
  AuthorizationCheck::processMetadataDictionary(metadata, nullptr, nullptr);
}

}  // namespace
}  // namespace qrt
