#include "service/EntryPoint.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>

#include "ServiceDoubles.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/PropertyLists.h"
#include "service/EmbeddedPropertyLists.h"

namespace qrt {
namespace {

constexpr const char* needsRoot = "This program needs root privileges.";
constexpr const char* shuttingDown = "Privileged helper is shutting down.";

class EntryPointTest : public testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  test::ServicePlatform doubles_;
  Dictionary info_ = *readPropertyList(infoPropertyList).value().dictionary();
  std::ostringstream output_, error_;

  /// Without a handler for one of the codes.
  std::optional<std::uint64_t> forgotten_;

  int enter(std::vector<const char*> arguments = {}) {
    const auto registerHandlers = [this](QRTPrivilegedOperationSet& set, const Platform&) {
      set.handlers() = HandlerTable();
      for (std::uint64_t code = 0; code <= 27; ++code) {
        if (code == forgotten_) continue;
        for (const bool feedback : {false, true}) {
          set.handlers().add(
              set.nameOfSelectorForExecutionOfPrivilegedOperationWithCode(code, feedback),
              [](const Platform&, const Array&, FeedbackConnection*) -> Outcome {
                return success;
              });
        }
      }
    };
    return EntryPoint{doubles_.platform, info_, registerHandlers, output_, error_}.enter(arguments);
  }
};

TEST_F(EntryPointTest, TellsItsVersionToAnybodyAndTakesNoOtherArguments) {
  doubles_.self.userID = 501;
  for (const char* asked : {"v", "version"}) EXPECT_EQ(enter({asked}), 0);
  for (const auto& other : std::vector<std::vector<const char*>>{{"-v"}, {""}, {"V"}, {"v", "v"}}) {
    EXPECT_EQ(enter(other), 1);
  }
  EXPECT_EQ(output_.str(), "1.6 (Build 171004)\n1.6 (Build 171004)\n");
  EXPECT_EQ(error_.str(), "");
  EXPECT_TRUE(doubles_.log.texts().empty());
}

/// The lists are data, so nothing but this keeps them in step with the operation set.
TEST_F(EntryPointTest, ItsPropertyListsNameTheServiceAndItsRequestor) {
  const QRTPrivilegedOperationSetVK2 set(doubles_.log, doubles_.authority);
  const auto service = set.serviceIdentifierForHelper();
  EXPECT_EQ(*stringIn(info_, "CFBundleIdentifier"), service);
  EXPECT_EQ(*stringIn(info_, "CFBundleName"), service);
  const auto& clients = *info_.at("SMAuthorizedClients").array();
  ASSERT_EQ(clients.size(), 1u);
  EXPECT_NE(clients[0].string()->find('"' + set.nameOfXPCRequestorForHelper() + '"'),
            std::string::npos);
  EXPECT_EQ(*readPropertyList(launchdPropertyList),
            (Dictionary{{"Label", service}, {"MachServices", Dictionary{{service, true}}}}));
}

TEST_F(EntryPointTest, NeedsItsPrincipalClass) {
  info_.insert_or_assign("NSPrincipalClass", "QRTPrivilegedOperationSet");
  EXPECT_EQ(enter(), 1);
  info_.erase("NSPrincipalClass");
  EXPECT_EQ(enter(), 1);
  const std::string problem =
      "Internal implementation error: The principal class is either not set or not implemented.\n";
  EXPECT_EQ(error_.str(), problem + problem);
  EXPECT_TRUE(doubles_.log.texts().empty());
}

TEST_F(EntryPointTest, RefusesAnotherVersionAndAnotherUser) {
  info_.insert_or_assign("CFBundleShortVersionString", "1.6.0");
  const char* mismatch =
      "Executable version (1.6.0) does not match implementation version of privileged command set "
      "(1.6).";
  EXPECT_EQ(enter(), 1);
  doubles_.self.userID = 501;
  EXPECT_EQ(enter(), 1);
  EXPECT_EQ(error_.str(), needsRoot);
  EXPECT_EQ(doubles_.log.texts(),
            (Texts{mismatch, shuttingDown, mismatch, needsRoot, shuttingDown}));
  EXPECT_TRUE(doubles_.transport.turnedAway);
  EXPECT_FALSE(doubles_.transport.served);
}

TEST_F(EntryPointTest, RefusesToOfferWhatNothingPerforms) {
  for (const std::uint64_t code : {0, 12, 27}) {
    forgotten_ = code;
    EXPECT_EQ(enter(), 1);
  }
  EXPECT_EQ(doubles_.log.texts(),
            (Texts{"Privileged operation 0 has no implementation.", shuttingDown,
                   "Privileged operation 12 has no implementation.", shuttingDown,
                   "Privileged operation 27 has no implementation.", shuttingDown}));
  EXPECT_TRUE(doubles_.transport.turnedAway);
  EXPECT_FALSE(doubles_.transport.served);
}

TEST_F(EntryPointTest, ServesOrSaysWhyItCannot) {
  EXPECT_EQ(enter(), 0);
  EXPECT_TRUE(doubles_.transport.served);
  EXPECT_FALSE(doubles_.transport.turnedAway);
  EXPECT_EQ(doubles_.log.lines().back(),
            (test::RecordingLog::Line{LogLevel::standard, shuttingDown}));

  doubles_.transport.resumeFailure = Error{"d", 9, {{"NSLocalizedDescription", "No socket."}}};
  EXPECT_EQ(enter(), 1);
  EXPECT_EQ(error_.str(), "No socket.\n");
}

}  // namespace
}  // namespace qrt
