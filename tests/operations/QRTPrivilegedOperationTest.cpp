#include "operations/QRTPrivilegedOperation.h"

#include <gtest/gtest.h>

#include "operations/OperationCatalogue.h"
#include "support/RecordingLog.h"

namespace qrt {
namespace {

using Capabilities = QRTPrivilegedOperationStaticDescription::Capabilities;

TEST(QRTPrivilegedOperation, AcceptsOnlyConsistentRecords) {
  struct Case {
    const char* what;
    QRTPrivilegedOperationStaticDescription record;
    bool isAccepted;
    bool isLogged;
  };
  const Capabilities none;
  const Capabilities progress{.progressFeedback = true};
  const Capabilities both{.progressFeedback = true, .liveOutput = true};
  const Case cases[] = {
      {"plain", {7, "a-b", 1, none, 2, "SN", "Text."}, true, false},
      {"no arguments, no types", {7, "a", 0, none, 0, nullptr, "Text."}, true, false},
      {"no arguments, empty types", {7, "a", 0, none, 0, "", "Text."}, true, false},
      {"any arguments", {7, "a", 2, progress, NSNotFound, nullptr, "Text."}, true, false},
      {"no identifier", {7, nullptr, 1, none, 0, nullptr, "Text."}, false, false},
      {"no presentation", {7, "a", 1, none, 0, nullptr, nullptr}, false, false},
      {"unknown policy", {7, "a", 3, none, 0, nullptr, "Text."}, false, false},
      {"too few types", {7, "a", 1, none, 2, "S", "Text."}, false, true},
      {"too many types", {7, "a", 1, none, 0, "S", "Text."}, false, true},
      {"types missing", {7, "a", 1, none, 1, nullptr, "Text."}, false, true},
      {"any with types", {7, "a", 1, none, NSNotFound, "S", "Text."}, false, true},
      {"any with empty types", {7, "a", 1, none, NSNotFound, "", "Text."}, false, true},
      {"both capabilities", {7, "a", 1, both, 0, nullptr, "Text."}, false, true},
      {"empty identifier", {7, "", 1, none, 0, nullptr, "Text."}, false, true},
      {"empty presentation", {7, "a", 1, none, 0, nullptr, ""}, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    test::RecordingLog log;
    EXPECT_EQ(QRTPrivilegedOperation::initWithStaticDescription(c.record, log).has_value(),
              c.isAccepted);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), c.isLogged ? 1u : 0u);
    if (!c.isLogged) continue;
    EXPECT_EQ(lines[0].level, LogLevel::error);
    EXPECT_EQ(lines[0].text,
              "(null): implementation error - static description with code 7 contains "
              "inconsistent data and was not accepted.");
  }
}

TEST(QRTPrivilegedOperation, PoliciesAreRightDefinitions) {
  const auto policyOf = [](const PropertyValue& policy) {
    return QRTPrivilegedOperation::initWithIdentifier("a", policy, false, false, 0, {}, "Text.");
  };
  EXPECT_TRUE(policyOf("rule"));
  EXPECT_TRUE(policyOf(Dictionary{{"rule", "default"}}));
  EXPECT_FALSE(policyOf(""));
  EXPECT_FALSE(policyOf(Dictionary()));
  EXPECT_FALSE(policyOf(1));

  test::RecordingLog log;
  const PropertyValue definitions[] = {"allow", Dictionary{{"rule", "default"}},
                                       "authenticate-admin"};
  for (std::uint64_t policy = 0; policy < 3; ++policy) {
    const auto operation = QRTPrivilegedOperation::initWithStaticDescription(
        {1, "a", policy, {}, 0, nullptr, "Text."}, log);
    ASSERT_TRUE(operation);
    EXPECT_EQ(operation->authenticationPolicy(), definitions[policy]);
  }
}

TEST(QRTPrivilegedOperation, StemsKeepLettersAndCapitalizeWords) {
  const std::pair<const char*, const char*> cases[] = {
      {"delete-foldercontents", "DeleteFoldercontents"},
      {"enable-ipvsix", "EnableIpvsix"},
      {"nop", "Nop"},
      {"a1-b", "AB"},
      {"1a-2bC", "ABc"},
      {"MODIFY-acl", "ModifyAcl"},
      {"a--b-", "AB"},
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

TEST(QRTPrivilegedOperation, RightNamesNeedAnImplementationCode) {
  const auto operation = QRTPrivilegedOperation::initWithIdentifier("signal-process", "allow",
                                                                    false, false, 0, {}, "T.");
  EXPECT_EQ(operation->authenticationRightNameForImplementationIdentifier("vk2"),
            "com.vantor.vk2.signal-process");
  EXPECT_EQ(operation->authenticationRightNameForImplementationIdentifier(""), std::nullopt);
}

}  // namespace
}  // namespace qrt
