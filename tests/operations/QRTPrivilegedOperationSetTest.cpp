#include "operations/QRTPrivilegedOperationSet.h"

#include <gtest/gtest.h>

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
  const QRTPrivilegedOperationStaticDescription::Capabilities none,
      both{.progressFeedback = true, .liveOutput = true};
  const std::pair<QRTPrivilegedOperationStaticDescription, bool> records[] = {
      {{7, "a-b", 1, none, 2, "SN", "Text."}, true},
      {{7, "a", 0, none, NSNotFound, nullptr, "Text."}, true},
      {{7, nullptr, 1, none, 0, nullptr, "Text."}, false},
      {{7, "a", 3, none, 0, nullptr, "Text."}, false},
      {{7, "a", 1, none, 1, nullptr, "Text."}, false},
      {{7, "a", 1, none, NSNotFound, "S", "Text."}, false},
      {{7, "a", 1, both, 0, nullptr, "Text."}, false},
      {{7, "a", 1, none, 0, nullptr, ""}, false}};
  test::RecordingLog log;
  for (const auto& [record, isAccepted] : records) {
    const auto operation = QRTPrivilegedOperation::initWithStaticDescription(record, log);
    EXPECT_EQ(operation.has_value(), isAccepted);
  }
  const std::string line =
      "(null): implementation error - static description with code 7 contains inconsistent data "
      "and was not accepted.";
  EXPECT_EQ(log.texts(), std::vector<std::string>(4, line));
}

std::optional<QRTPrivilegedOperation> operation(const PropertyValue& policy) {
  return QRTPrivilegedOperation::initWithIdentifier("a", policy, false, false, 0, {}, "T.");
}

TEST(QRTPrivilegedOperation, PoliciesAreRightDefinitions) {
  EXPECT_TRUE(operation("rule") && operation(Dictionary{{"rule", "default"}}));
  EXPECT_FALSE(operation("") || operation(Dictionary()) || operation(1));
}

constexpr QRTPrivilegedOperationStaticDescription small[] = {
    {1, "first", 0, {}, 0, nullptr, "First."},
    {2, "broken", 1, {}, 2, "S", "Broken."},
    {3, "third-one", 2, {}, 0, nullptr, "Third."},
    {endOfCatalogue, nullptr, 0, {}, 0, nullptr, nullptr},
};

TEST(QRTPrivilegedOperationSetTest, InstallsOnlyRightsThatAreMissing) {
  test::RecordingLog log;
  test::FakeAuthority authority;
  const QRTPrivilegedOperationSetVK2 set(log, authority, small);
  const auto authorization = std::move(authority.create()).value();
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  const std::map<std::string, test::FakeAuthority::Right> expected = {
      {"com.vantor.vk2.first", {"allow", "First.", "PrivilegedOperations"}},
      {"com.vantor.vk2.third-one", {"authenticate-admin", "Third.", "PrivilegedOperations"}}};
  EXPECT_EQ(authority.rights(), expected);
  authority.takeCalls();
  set.setAuthorizationRightsForImplementedOperationsUsingAuthorization(authorization.get());
  EXPECT_TRUE(authority.calls().empty());
}

}  // namespace
}  // namespace qrt
