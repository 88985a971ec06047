#include "service/EntryPoint.h"

#include <gtest/gtest.h>

#include <sstream>

#include "ServiceDoubles.h"
#include "operations/QRTPrivilegedOperationSetVK2.h"
#include "platform/PropertyLists.h"
#include "service/AllHandlers.h"
#include "service/EmbeddedPropertyLists.h"

namespace qrt {
namespace {

/// A start of the program and its results.
struct Start {
  test::ServicePlatform doubles;
  Dictionary info = *readPropertyList(infoPropertyList)->dictionary();
  bool hasHandlers = true;
  std::ostringstream output, error;

  int enter(std::vector<const char*> arguments = {}) {
    const auto registerHandlers = [this](QRTPrivilegedOperationSet& set, const Platform& platform) {
      set.handlers() = HandlerTable();
      if (hasHandlers) registerAllHandlers(set, platform);
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

TEST(EntryPointTest, ServesOrReportsTheReason) {
  const std::string needsRoot = "This program needs root privileges.";
  const struct {
    const char *key, *value;
    std::uint32_t user;
    bool hasHandlers;
    std::string error, firstLine;
  } refusals[] = {
      {"NSPrincipalClass", "QRTPrivilegedOperationSet", 0, true,
       "Internal implementation error: The principal class is either not set or not "
       "implemented.\n",
       ""},
      {"CFBundleShortVersionString", "1.6.0", 0, true, "",
       "Executable version (1.6.0) does not match implementation version of privileged command "
       "set (1.6)."},
      {"", "", 501, true, needsRoot, needsRoot},
      {"", "", 0, false, "", "Privileged operation 0 has no implementation."}};
  for (const auto& [key, value, user, hasHandlers, error, firstLine] : refusals) {
    Start start;
    start.info.insert_or_assign(key, value);
    start.doubles.self.userID = user;
    start.hasHandlers = hasHandlers;
    EXPECT_EQ(start.enter(), 1);
    EXPECT_EQ(start.error.str(), error);
    const auto log = start.doubles.log.texts();
    EXPECT_EQ(log.empty() ? "" : log.front(), firstLine);
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
