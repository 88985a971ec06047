#include "platform/linux/wire/WireConnection.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "integration/linux/RawClient.h"
#include "platform/HelperConnection.h"
#include "platform/linux/LinuxFacilities.h"
#include "support/ScratchFolder.h"

namespace qrt {
namespace {

using test::RawClient;

/// The progress of a server that gets that message.
WireConnection::Progress progressAfter(const Data& message, LargeMessageQueue* queue) {
  test::SocketPair pair;
  auto wire = std::move(*WireConnection::make(std::move(pair.first), WireConnection::Role::server));
  if (queue) wire->takeLargeMessages(*queue, 1);
  RawClient peer(std::move(pair.second));
  EXPECT_TRUE(peer.send(RawClient::handshakeBytes()));
  EXPECT_TRUE(wire->handshake());
  EXPECT_TRUE(peer.send(message));
  return wire->step();
}

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
    LargeMessageQueue queue;
    const auto progress = progressAfter(message, takesLarge ? &queue : nullptr);
    EXPECT_EQ(progress == WireConnection::Progress::made, isTaken) << name;
  }
}

/// A helper whose answer to the first call is an error without a text.
void answerWithoutText(int listening) {
  RawClient caller(FileDescriptor(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC)));
  const auto* const lines = "OK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
  EXPECT_TRUE(caller.send(test::WireBytes().raw(lines).bytes()) && caller.receiveHandshake());
  EXPECT_TRUE(caller.receiveReply()) << "the call, in fact";
  test::WireBytes error;
  error.byte('l').byte(3).byte(1).byte(1).u32(0).u32(1).array(8, [](test::WireBytes& fields) {
    fields.align(8).byte(4).signature("s").string("some.Error");
    fields.align(8).byte(5).signature("u").u32(1);
  });
  EXPECT_TRUE(caller.send(error.align(8).bytes()));
  caller.isClosedByPeer();
}

TEST(LinuxHelperConnection, ReportsTheNameOfAnErrorWithoutText) {
  const test::ScratchFolder scratch;
  const auto path = scratch.path("socket");
  const FileDescriptor listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un name{AF_UNIX, {}};
  path.copy(name.sun_path, sizeof name.sun_path - 1);
  ASSERT_EQ(bind(listening.get(), reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
  ASSERT_EQ(listen(listening.get(), 1), 0);
  std::thread helper([&] { answerWithoutText(listening.get()); });
  {
    const auto connection = makeHelperConnector()->connect(path);
    ASSERT_TRUE(connection);
    const auto version = (*connection)->getVersionString();
    ASSERT_FALSE(version);
    EXPECT_EQ(descriptionOf(version.error()), "some.Error");
  }
  helper.join();
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
