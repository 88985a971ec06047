#include "platform/linux/wire/WireConnection.h"

#include <gtest/gtest.h>

#include <future>

#include "integration/linux/RawClient.h"

namespace qrt {
namespace {

using test::RawClient;

/// A method call with an unknown header field and a body of those sizes.
Data call(std::size_t fieldSize, std::size_t bodySize) {
  test::WireBytes message;
  message.byte('l').byte(1).byte(0).byte(1).u32(static_cast<std::uint32_t>(bodySize)).u32(1);
  message.array(8, [&](test::WireBytes& fields) {
    fields.align(8).byte(1).signature("o").string("/");
    fields.align(8).byte(3).signature("s").string("unknown");
    fields.align(8).byte(8).signature("g").signature("ay");
    fields.align(8).byte(77).signature("s").string(std::string(fieldSize, 'x'));
  });
  auto bytes = message.align(8).bytes();
  bytes.resize(bytes.size() + bodySize);
  return bytes;
}

TEST(WireConnection, TakesLargeMessagesWithAQueueButNoLargeHeaders) {
  constexpr auto largest = LargeMessageQueue::largestWithout;
  const struct {
    const char* name;
    Data message;
    bool takesLarge, isTaken;
  } cases[] = {{"small", call(largest / 4, largest / 4), false, true},
               {"large", call(1, largest), true, true},
               {"large, without a queue", call(1, largest), false, false},
               {"large header", call(largest, 1), true, false}};
  for (const auto& [name, message, takesLarge, isTaken] : cases) {
    test::SocketPair pair;
    LargeMessageQueue queue;
    const auto wire =
        std::move(*WireConnection::make(std::move(pair.first), WireConnection::Role::server));
    if (takesLarge) wire->takeLargeMessages(queue, 1);
    RawClient peer(std::move(pair.second));
    EXPECT_TRUE(peer.send(RawClient::handshakeBytes()) && wire->handshake() && peer.send(message));
    EXPECT_EQ(wire->step() == WireConnection::Progress::made, isTaken) << name;
  }
}

/// The peer does not read, so a message waits here; it has left when its call is read.
TEST(WireConnection, ReadsWhatAPeerSentBeforeItLeft) {
  test::SocketPair sockets;
  const auto wire =
      std::move(*WireConnection::make(std::move(sockets.first), WireConnection::Role::server));
  int calls = 0;
  static const sd_bus_vtable methods[] = {SD_BUS_VTABLE_START(0),
                                          SD_BUS_METHOD(
                                              "Stop", "", "",
                                              [](sd_bus_message*, void* context, sd_bus_error*) {
                                                return ++*static_cast<int*>(context);
                                              },
                                              SD_BUS_VTABLE_UNPRIVILEGED),
                                          SD_BUS_VTABLE_END};
  sd_bus_add_object_vtable(wire->bus(), nullptr, "/o", "i.f", methods, &calls);
  auto peer =
      std::move(*WireConnection::make(std::move(sockets.second), WireConnection::Role::client));
  auto shaken = std::async(std::launch::async, [&] { return peer->handshake(); });
  ASSERT_TRUE(wire->handshake() && shaken.get());
  const std::string text(64 << 10, 'x');
  while (!wire->hasQueuedOutput()) {
    ASSERT_GE(sd_bus_emit_signal(wire->bus(), "/o", "i.f", "Text", "s", text.c_str()), 0);
  }
  ASSERT_GE(sd_bus_call_method_async(peer->bus(), nullptr, nullptr, "/o", "i.f", "Stop", nullptr,
                                     nullptr, ""),
            0);
  peer.reset();
  while (wire->step() == WireConnection::Progress::made) continue;
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace qrt
