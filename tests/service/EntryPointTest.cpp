#include "service/EntryPoint.h"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <sstream>

#include "ServiceDoubles.h"
#include "operations/QRTPrivilegedOperationSet.h"
#include "platform/PropertyLists.h"
#include "service/EmbeddedPropertyLists.h"

namespace qrt {
namespace {

class EntryPointTest : public testing::Test {
 protected:
  test::ServicePlatform doubles_;
  Dictionary info_ = *doubles_.platform.propertyLists.parse(infoPropertyList).value().dictionary();
  std::ostringstream output_, error_;

  /// Without a handler for one of the codes.
  std::optional<std::uint64_t> forgotten_;

  int enter(std::vector<const char*> arguments) {
    const auto registerHandlers = [this](QRTPrivilegedOperationSet& set) {
      set.handlers() = HandlerTable();
      for (std::uint64_t code = 0; code <= 27; ++code) {
        const std::set<std::uint64_t> withFeedback{3, 4, 10, 11, 12, 13, 21, 22, 25};
        const auto name = set.nameOfSelectorForExecutionOfPrivilegedOperationWithCode(
            code, withFeedback.contains(code));
        const auto nothing = [](const Array&, FeedbackConnection*) -> Outcome { return success; };
        if (code != forgotten_) set.handlers().add(name, nothing);
      }
    };
    const EntryPoint entryPoint{doubles_.platform, info_, registerHandlers, output_, error_};
    return entryPoint.enter(arguments);
  }
};

TEST_F(EntryPointTest, CommandLine) {
  struct Case {
    std::vector<const char*> arguments;
    int status;
    const char* output;
  };
  doubles_.self.userID = 501;
  for (const auto& c :
       {Case{{"v"}, 0, "1.6 (Build 171004)\n"}, Case{{"version"}, 0, "1.6 (Build 171004)\n"},
        Case{{"-v"}, 1, ""}, Case{{""}, 1, ""}, Case{{"V"}, 1, ""}, Case{{"v", "v"}, 1, ""}}) {
    output_.str("");
    EXPECT_EQ(enter(c.arguments), c.status);
    EXPECT_EQ(output_.str(), c.output);
  }
  EXPECT_EQ(error_.str(), "");
  EXPECT_TRUE(doubles_.log.texts().empty());
}

TEST_F(EntryPointTest, NeedsItsPrincipalClass) {
  for (const auto* name : {"", "QRTPrivilegedOperationSet"}) {
    info_.insert_or_assign("NSPrincipalClass", name);
    error_.str("");
    EXPECT_EQ(enter({}), 1);
    EXPECT_EQ(error_.str(),
              "Internal implementation error: The principal class is either not set or not "
              "implemented.\n");
  }
  EXPECT_EQ(enter({"a", "b"}), 1);
  EXPECT_TRUE(doubles_.log.texts().empty());
}

TEST_F(EntryPointTest, RefusesAnotherVersionAndAnotherUser) {
  info_.insert_or_assign("CFBundleShortVersionString", "1.6.0");
  const std::string mismatch =
      "Executable version (1.6.0) does not match implementation version of privileged command set "
      "(1.6).";
  const std::string shutDown = "Privileged helper is shutting down.";
  EXPECT_EQ(enter({}), 1);
  EXPECT_EQ(doubles_.log.texts(), (std::vector{mismatch, shutDown}));
  EXPECT_FALSE(doubles_.transport.served);

  doubles_.self.userID = 501;
  EXPECT_EQ(enter({}), 1);
  EXPECT_EQ(error_.str(), "This program needs root privileges.");
  EXPECT_EQ(doubles_.log.texts(),
            (std::vector<std::string>{mismatch, shutDown, mismatch,
                                      "This program needs root privileges.", shutDown}));
  EXPECT_TRUE(doubles_.transport.turnedAway);
}

TEST_F(EntryPointTest, RefusesToOfferWhatNothingPerforms) {
  std::vector<std::string> expected;
  for (const std::uint64_t code : {0, 12, 27}) {
    forgotten_ = code;
    EXPECT_EQ(enter({}), 1);
    expected.push_back("Privileged operation " + std::to_string(code) + " has no implementation.");
    expected.emplace_back("Privileged helper is shutting down.");
    EXPECT_EQ(doubles_.log.texts(), expected);
  }
  EXPECT_FALSE(doubles_.transport.served);
  EXPECT_TRUE(doubles_.transport.turnedAway);
  // Whoever only asks for the version gets it, and another user is told that first.
  EXPECT_EQ(enter({"v"}), 0);
  doubles_.self.userID = 501;
  EXPECT_EQ(enter({}), 1);
  EXPECT_EQ(error_.str(), "This program needs root privileges.");
}

TEST_F(EntryPointTest, ServesOrSaysWhyItCannot) {
  EXPECT_EQ(enter({}), 0);
  EXPECT_TRUE(doubles_.transport.served);
  EXPECT_FALSE(doubles_.transport.turnedAway);
  EXPECT_EQ(doubles_.log.lines().back(),
            (test::RecordingLog::Line{LogLevel::standard, "Privileged helper is shutting down."}));

  doubles_.transport.resumeFailure =
      Error{"NSPOSIXErrorDomain", 9, {{"NSLocalizedDescription", "No socket."}}};
  EXPECT_EQ(enter({}), 1);
  EXPECT_EQ(error_.str(), "No socket.\n");
}

}  // namespace
}  // namespace qrt
