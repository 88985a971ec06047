#include "platform/macos/xpc/Mailbox.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/macos/xpc/FeedbackIntake.h"
#include "protocol/FeedbackMessage.h"

namespace qrt {
namespace {

TEST(Mailbox, AnInterruptionOrALimitEndsOneWait) {
  using namespace std::chrono_literals;
  const auto never = [] { return false; };
  Mailbox mailbox;
  mailbox.interrupt();
  EXPECT_FALSE(mailbox.performUntil(never));
  EXPECT_FALSE(mailbox.performUntil(never, 20ms));
  bool isOver = false;
  std::thread posting([&] { mailbox.post([&] { isOver = true; }); });
  EXPECT_TRUE(mailbox.performUntil([&] { return isOver; }, 60s));
  posting.join();
}

/// a: the daemon's connection is accepted; p, f: it brings progress, the final message; e: it ends;
/// L: the client's last call arrives.
TEST(FeedbackIntake, WaitsForTheConnectionsBeforeTheLastCall) {
  const std::pair<const char*, bool> rows[] = {{"", false},    {"L", true},    {"a", false},
                                               {"apf", false}, {"aL", false},  {"aLp", false},
                                               {"apLf", true}, {"apLe", true}, {"apfL", true}};
  for (const auto& [events, isComplete] : rows) {
    int received = 0;
    const FeedbackHandler handler = [&](const Dictionary&) { ++received; };
    FeedbackIntake intake(handler);
    int expected = 0;
    for (const char event : std::string_view(events)) {
      if (event == 'a') intake.accept(1);
      if (event == 'p') intake.receive(1, progressMessage(0.5));
      if (event == 'f') intake.receive(1, finalMessage());
      if (event == 'e') intake.end(1);
      if (event == 'L') {
        intake.accept(2);
        intake.receive(2, FeedbackIntake::lastCall());
      }
      expected += event == 'p' || event == 'f';
    }
    EXPECT_EQ(intake.isComplete(), isComplete) << events;
    EXPECT_EQ(received, expected) << events;
  }
}

}  // namespace
}  // namespace qrt
