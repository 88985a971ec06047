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

using Texts = std::vector<std::string>;

/// A start of the program and its results.
struct Start {
  test::ServicePlatform doubles;
  Dictionary info = *readPropertyList(infoPropertyList)->dictionary();
  /// The code of an operation without a handler.
  std::optional<std::uint64_t> forgotten;
  std::ostringstream output, error;

  int enter(std::vector<const char*> arguments = {}) {
    const auto registerHandlers = [this](QRTPrivilegedOperationSet& set, const Platform&) {
      set.handlers() = HandlerTable();
      for (std::uint64_t code = 0; code <= lastCodeWithHandler; ++code) {
        if (code == forgotten) continue;
        for (const bool feedback : {false, true}) {
          set.handlers().add(
              set.nameOfSelectorForExecutionOfPrivilegedOperationWithCode(code, feedback),
              [](const Platform&, const Array&, FeedbackConnection*) { return Outcome(); });
        }
      }
    };
    return EntryPoint{doubles.platform, info, registerHandlers, output, error}.enter(arguments);
  }
};

TEST(EntryPointTest, PrintsItsVersionForAnyUserAndTakesNoOtherArguments) {
  Start start;
  start.doubles.self.userID = 501;
  for (const char* argument : {"v", "version"}) EXPECT_EQ(start.enter({argument}), 0);
  EXPECT_EQ(start.enter({"-v"}), 1);
  EXPECT_EQ(start.enter({"v", "v"}), 1);
  EXPECT_EQ(start.output.str(), "1.6 (Build 171004)\n1.6 (Build 171004)\n");
}

/// Only this test keeps the lists in step with the operation set.
TEST(EntryPointTest, ItsPropertyListsNameTheServiceAndItsRequestor) {
  Start start;
  auto& doubles = start.doubles;
  const QRTPrivilegedOperationSetVK2 set(doubles.log, doubles.authority);
  const auto service = set.serviceIdentifierForHelper();
  EXPECT_EQ(*stringIn(start.info, "CFBundleIdentifier"), service);
  EXPECT_EQ(*stringIn(start.info, "CFBundleName"), service);
  const auto& clients = *start.info.at("SMAuthorizedClients").array();
  ASSERT_EQ(clients.size(), 1u);
  EXPECT_NE(clients[0].string()->find('"' + set.nameOfXPCRequestorForHelper() + '"'),
            std::string::npos);
  EXPECT_EQ(*readPropertyList(launchdPropertyList),
            (Dictionary{{"Label", service}, {"MachServices", Dictionary{{service, true}}}}));
}

TEST(EntryPointTest, ServesOrReportsTheReason) {
  const std::string none =
                        "Internal implementation error: The principal class is either not set "
                        "or not implemented.\n",
                    mismatch =
                        "Executable version (1.6.0) does not match implementation version "
                        "of privileged command set (1.6).",
                    needsRoot = "This program needs root privileges.",
                    end = "Privileged helper is shutting down.";
  const struct {
    const char *key, *value;
    std::uint32_t user;
    std::optional<std::uint64_t> forgotten;
    std::string error;
    Texts log;
  } refusals[] = {
      {"NSPrincipalClass", "QRTPrivilegedOperationSet", 0, {}, none, {}},
      {"CFBundleShortVersionString", "1.6.0", 501, {}, needsRoot, {mismatch, needsRoot, end}},
      {"CFBundleShortVersionString", "1.6.0", 0, {}, "", {mismatch, end}},
      {"", "", 0, 27, "", {"Privileged operation 27 has no implementation.", end}}};
  for (const auto& [key, value, user, forgotten, error, log] : refusals) {
    Start start;
    start.info.insert_or_assign(key, value);
    start.doubles.self.userID = user;
    start.forgotten = forgotten;
    EXPECT_EQ(start.enter(), 1);
    EXPECT_EQ(start.error.str(), error);
    EXPECT_EQ(start.doubles.log.texts(), log);
    EXPECT_EQ(start.doubles.transport.turnedAway, !log.empty());
    EXPECT_FALSE(start.doubles.transport.served);
  }
  for (const Outcome& failure :
       {Outcome(), Outcome(Error{"d", 9, {{"NSLocalizedDescription", "No socket."}}})}) {
    Start start;
    start.doubles.transport.resumeFailure = failure;
    EXPECT_EQ(start.enter(), failure ? 1 : 0);
    EXPECT_EQ(start.error.str(), failure ? "No socket.\n" : "");
    EXPECT_EQ(start.doubles.transport.served, !failure);
    EXPECT_EQ(start.doubles.transport.turnedAway, failure.has_value());
  }
}

}  // namespace
}  // namespace qrt
