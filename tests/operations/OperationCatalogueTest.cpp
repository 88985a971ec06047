#include "operations/OperationCatalogue.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <set>

#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "support/FakeAuthority.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

struct Fact {
  std::uint64_t code;
  const char* identifier;
  int policy;
  /// As the 64-bit slot reads: 1 progress, 256 live output.
  std::uint64_t capabilities;
  /// -1 for any number.
  int count;
  const char* types;
  /// Empty for operations that have no handler.
  const char* handler;
};

constexpr Fact facts[] = {
    {9998, "nop", 0, 0, 0, "", ""},
    {9997, "discard-auth", 0, 0, 0, "", ""},
    {9996, "delete-files", 1, 0, -1, "", ""},
    {9995, "prepare-uninstall", 1, 0, 0, "", ""},
    {9994, "perform-uninstall", 1, 0, 3, "NSS", ""},
    {0, "modify-systemfile", 1, 0, 3, "SDN", "performOperationModifySystemfileWithArguments:"},
    {1, "create-fileobject", 1, 0, 2, "SS", "performOperationCreateFileobjectWithArguments:"},
    {2, "rename-fileobject", 1, 0, 2, "SS", "performOperationRenameFileobjectWithArguments:"},
    {3, "delete-fileobjects", 1, 1, -1, "",
     "performOperationDeleteFileobjectsWithArguments:feedbackConnection:"},
    {4, "delete-foldercontents", 1, 1, -1, "",
     "performOperationDeleteFoldercontentsWithArguments:feedbackConnection:"},
    {5, "inspect-fileobject", 1, 0, 1, "S", "performOperationInspectFileobjectWithArguments:"},
    {6, "touch-fileobject", 1, 0, 1, "S", "performOperationTouchFileobjectWithArguments:"},
    {7, "modify-protection", 1, 0, 4, "SNNN", "performOperationModifyProtectionWithArguments:"},
    {8, "modify-hfsattr", 1, 0, 4, "SNNN", "performOperationModifyHfsattrWithArguments:"},
    {9, "create-link", 1, 0, 3, "SSN", "performOperationCreateLinkWithArguments:"},
    {10, "search-agedfiles", 1, 1, 3, "SNN",
     "performOperationSearchAgedfilesWithArguments:feedbackConnection:"},
    {11, "search-filenames", 1, 1, 4, "SSSN",
     "performOperationSearchFilenamesWithArguments:feedbackConnection:"},
    {12, "search-patterns", 1, 1, -1, "",
     "performOperationSearchPatternsWithArguments:feedbackConnection:"},
    {13, "search-fileorphans", 1, 1, 2, "SN",
     "performOperationSearchFileorphansWithArguments:feedbackConnection:"},
    {14, "inspect-storagesize", 1, 0, 1, "S", "performOperationInspectStoragesizeWithArguments:"},
    {15, "modify-kernelsetting", 1, 0, 2, "SN",
     "performOperationModifyKernelsettingWithArguments:"},
    {16, "modify-nvram", 1, 0, 2, "SS", "performOperationModifyNvramWithArguments:"},
    {17, "modify-preferences", 1, 0, 5, "SSSSS", "performOperationModifyPreferencesWithArguments:"},
    {18, "modify-sysconf", 1, 0, 4, "SSSS", "performOperationModifySysconfWithArguments:"},
    {19, "signal-process", 1, 0, 2, "NN", "performOperationSignalProcessWithArguments:"},
    {20, "modify-acl", 1, 0, 2, "SD", "performOperationModifyAclWithArguments:"},
    {21, "prop-permissions", 1, 1, 4, "SNNN",
     "performOperationPropPermissionsWithArguments:feedbackConnection:"},
    {22, "execute-utility", 1, 256, -1, "",
     "performOperationExecuteUtilityWithArguments:feedbackConnection:"},
    {23, "enable-ipvsix", 1, 0, 3, "SSN", "performOperationEnableIpvsixWithArguments:"},
    {24, "rename-stashfolder", 1, 0, 3, "SSN", "performOperationRenameStashfolderWithArguments:"},
    {25, "create-installmedia", 1, 256, 2, "SS",
     "performOperationCreateInstallmediaWithArguments:feedbackConnection:"},
    {26, "erase-diskblocks", 1, 0, 2, "SN", "performOperationEraseDiskblocksWithArguments:"},
    {27, "write-smcvalue", 1, 0, 2, "SD", "performOperationWriteSmcvalueWithArguments:"},
};

TEST(OperationCatalogue, HasTheseRecordsInThisOrder) {
  const auto* record = privilegedOperationCatalogue;
  for (const auto& fact : facts) {
    SCOPED_TRACE(fact.identifier);
    ASSERT_EQ(record->code, fact.code);
    EXPECT_STREQ(record->identifier, fact.identifier);
    EXPECT_EQ(record->authenticationPolicy, static_cast<std::uint64_t>(fact.policy));
    std::uint64_t capabilities = 0;
    std::memcpy(&capabilities, &record->capabilities, sizeof capabilities);
    EXPECT_EQ(capabilities, fact.capabilities);
    EXPECT_EQ(record->argumentCount,
              fact.count < 0 ? 0x7fffffffffffffff : static_cast<std::uint64_t>(fact.count));
    EXPECT_STREQ(record->argumentTypes ? record->argumentTypes : "", fact.types);
    // One sentence that the prompt can show as it is.
    const std::string presentation = record->userPresentation;
    EXPECT_TRUE(presentation.starts_with("Corvexa likes to "));
    EXPECT_TRUE(presentation.ends_with("."));
    ++record;
  }
  EXPECT_EQ(record->code, 9999u);
}

TEST(OperationCatalogue, RecordsAreSevenSlotsInThisOrder) {
  using Record = QRTPrivilegedOperationStaticDescription;
  const std::size_t offsets[] = {offsetof(Record, code),
                                 offsetof(Record, identifier),
                                 offsetof(Record, authenticationPolicy),
                                 offsetof(Record, capabilities),
                                 offsetof(Record, argumentCount),
                                 offsetof(Record, argumentTypes),
                                 offsetof(Record, userPresentation)};
  for (std::size_t slot = 0; slot < std::size(offsets); ++slot) EXPECT_EQ(offsets[slot], slot * 8);
}

TEST(OperationCatalogue, HandlersAreFoundUnderTheseNames) {
  test::RecordingLog log;
  test::FakeAuthority authority;
  QRTPrivilegedOperationSetVK2 set(log, authority);
  for (const auto& fact : facts) {
    if (*fact.handler == 0) continue;
    set.handlers().add(fact.handler, [&fact](const Array&, FeedbackConnection*) -> Outcome {
      return posixError(static_cast<PosixCode>(fact.code));
    });
  }
  for (const auto& fact : facts) {
    SCOPED_TRACE(fact.identifier);
    const bool feedback = fact.capabilities != 0;
    const auto* handler =
        set.selectorForExecutionOfPrivilegedOperationWithCode(fact.code, feedback);
    ASSERT_EQ(handler != nullptr, *fact.handler != 0);
    if (handler) {
      EXPECT_EQ((*handler)({}, nullptr)->code, static_cast<std::int64_t>(fact.code));
    }
    // Asked for with the other arity, nothing is found.
    EXPECT_EQ(set.selectorForExecutionOfPrivilegedOperationWithCode(fact.code, !feedback), nullptr);
  }
  EXPECT_EQ(set.implementedOperations().size(), std::size(facts));
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace qrt
