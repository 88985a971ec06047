#include "platform/macos/xpc/Mailbox.h"

#include <gtest/gtest.h>

#include <thread>

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

}  // namespace
}  // namespace qrt
