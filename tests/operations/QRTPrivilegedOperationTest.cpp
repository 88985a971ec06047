#include "operations/QRTPrivilegedOperation.h"

#include <gtest/gtest.h>

#include "operations/OperationCatalogue.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

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

}  // namespace
}  // namespace qrt
