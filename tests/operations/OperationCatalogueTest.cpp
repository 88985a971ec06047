#include "operations/OperationCatalogue.h"

#include <gtest/gtest.h>

#include <vector>

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

}  // namespace
}  // namespace qrt
