#include "platform/linux/wire/LinuxFeedbackConnection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <thread>

#include "integration/linux/RawClient.h"
#include "protocol/FeedbackMessage.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

using namespace std::chrono_literals;
using test::RawClient;
using Clock = std::chrono::steady_clock;

class LinuxFeedbackConnectionTest : public testing::Test {
 protected:
  void SetUp() override {
    sd_bus_add_object(requestor_->bus(), nullptr, wire::feedbackPath, receive, this);
    connection_.emplace(only(std::move(feedback_.first)), request_.first.get(),
                        feedbackRemoteInterface);
    std::thread peer([this] { EXPECT_TRUE(requestor_->handshake()); });
    EXPECT_EQ(connection_->open(progressMessage(0)), success);
    peer.join();
  }
  static std::vector<FileDescriptor> only(FileDescriptor socket) {
    std::vector<FileDescriptor> endpoint;
    endpoint.push_back(std::move(socket));
    return endpoint;
  }
  void send(Dictionary message) {
    connection_->processPrivilegedOperationFeedback(std::move(message));
  }

  /// The requestor reads for that long or until the daemon's end is closed.
  void readFor(std::chrono::milliseconds time) {
    const auto end = Clock::now() + time;
    while (Clock::now() < end) {
      const auto progress = requestor_->step();
      if (progress == WireConnection::Progress::closed) return;
      if (progress != WireConnection::Progress::made) std::this_thread::sleep_for(1ms);
    }
  }

  /// The connection that the request came over.
  test::SocketPair request_;
  test::SocketPair feedback_;
  std::optional<LinuxFeedbackConnection> connection_;
  /// The requestor's end, which reads in `readFor` only.
  std::unique_ptr<WireConnection> requestor_ =
      std::move(*WireConnection::make(std::move(feedback_.second), WireConnection::Role::client));
  std::vector<Dictionary> messages_;

 private:
  static int receive(sd_bus_message*, void* context, sd_bus_error*) {
    auto& self = *static_cast<LinuxFeedbackConnectionTest*>(context);
    self.messages_.push_back(self.requestor_->arguments().dictionary());
    return 1;
  }
};

/// A requestor that is the client of a bus: it says Hello and takes calls under its name only.
/// Returns the number of messages that arrive before the daemon closes its end.
int messagesToABusClient(FileDescriptor socket) {
  int messages = 0;
  sd_bus* made = nullptr;
  sd_bus_new(&made);
  const Bus bus(made);
  sd_bus_set_bus_client(made, 1);
  sd_bus_set_fd(made, socket.get(), socket.get());
  socket.release();
  const auto count = [](sd_bus_message*, void* context, sd_bus_error*) {
    return ++*static_cast<int*>(context);
  };
  sd_bus_add_object(made, nullptr, wire::feedbackPath, count, &messages);
  for (int result = sd_bus_start(made); result >= 0;) {
    result = sd_bus_process(made, nullptr);
    if (result == 0) result = sd_bus_wait(made, std::numeric_limits<std::uint64_t>::max());
  }
  return messages;
}

TEST_F(LinuxFeedbackConnectionTest, ABusClientGetsEveryMessage) {
  for (int round = 0; round < 20; ++round) {
    test::SocketPair feedback;
    LinuxFeedbackConnection connection(only(std::move(feedback.first)), request_.first.get(),
                                       feedbackRemoteInterface);
    auto received =
        std::async(std::launch::async, messagesToABusClient, std::move(feedback.second));
    ASSERT_EQ(connection.open(progressMessage(0)), success);
    connection.processPrivilegedOperationFeedback(outputMessage({}));
    connection.processPrivilegedOperationFeedback(finalMessage());
    connection.suspend();
    ASSERT_EQ(received.get(), 3) << round;
  }
}

/// It still gets its feedback.
TEST_F(LinuxFeedbackConnectionTest, ARequestorThatSaysTooMuchIsNotListenedTo) {
  const auto stop = RawClient::methodCall("stopOperation", "", {}, 0, "QRTOperationControl");
  const auto hello = RawClient::methodCall("Hello");
  const std::tuple<const char*, Data, int, bool, bool> cases[] = {
      {"99 messages", hello, 99, false, true},
      {"100 messages", hello, 100, false, false},
      {"a descriptor", RawClient::methodCall("Hello", "", {}, 1), 0, true, false},
      {"a long message", RawClient::methodCall("Hello", "", Data(4096)), 0, false, false},
      {"no message", Data(64, 0xAA), 0, false, false}};
  for (const auto& [name, message, replies, hasDescriptor, isHeard] : cases) {
    test::SocketPair pair;
    RawClient peer(std::move(pair.second));
    LinuxFeedbackConnection connection(only(std::move(pair.first)), request_.first.get(),
                                       feedbackRemoteInterface);
    EXPECT_TRUE(peer.send(RawClient::handshakeBytes()));
    ASSERT_EQ(connection.open(progressMessage(0)), success);
    for (int i = 1; i < replies; ++i) peer.send(message);
    peer.send(message, hasDescriptor ? std::vector{peer.socket()} : std::vector<int>());
    peer.send(stop);
    connection.processPrivilegedOperationFeedback(finalMessage());
    EXPECT_TRUE(peer.receiveHandshake());
    for (int i = 0; i < replies + 2; ++i) EXPECT_TRUE(peer.receiveReply()) << name;
    connection.suspend();
    EXPECT_EQ(connection.stopRequest().isSet(), isHeard) << name;
  }
}

TEST_F(LinuxFeedbackConnectionTest, ProgressIsNeverWaitedForAndTheNewestIsKept) {
  const auto records = recordsMessage(0, {true, Array{"x", 0.5}});
  send(records);
  constexpr int steps = 100'000;
  const auto begun = Clock::now();
  for (int i = 1; i <= steps; ++i) send(progressMessage(i));
  EXPECT_LT(Clock::now() - begun, 3s);
  send(finalMessage());
  std::thread closing([this] { connection_->suspend(); });
  readFor(5s);
  closing.join();
  ASSERT_GE(messages_.size(), 4u);
  EXPECT_LT(messages_.size(), std::size_t{steps});
  EXPECT_EQ(messages_[1], records);
  EXPECT_EQ(messages_[messages_.size() - 2], progressMessage(steps));
  EXPECT_EQ(messages_.back(), finalMessage());
}

TEST_F(LinuxFeedbackConnectionTest, UnreadProgressDelaysTheEndByFiveSeconds) {
  // More than the kernel buffers, with time to write it: faster progress only replaces what waits.
  for (int i = 0; i < 20'000; ++i) {
    send(progressMessage(i));
    if (i % 100 == 0) std::this_thread::sleep_for(1ms);
  }
  const auto begun = Clock::now();
  connection_->suspend();
  EXPECT_GE(Clock::now() - begun, 4s);
  EXPECT_LT(Clock::now() - begun, 7s);
}

TEST_F(LinuxFeedbackConnectionTest, OutputWaitsForItsReaderWhileTheRequestorIsConnected) {
  std::atomic<int> sent{0};
  std::thread writing([&] {
    for (; sent < 64; ++sent) send(outputMessage(Data(64 << 10, 'x')));
    connection_->suspend();
  });
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(sent, 32);  // A megabyte waits here, a little in the kernel.
  const auto begun = Clock::now();
  request_.second.reset();  // The request's connection ends; the feedback socket stays open.
  writing.join();
  EXPECT_LT(Clock::now() - begun, 2s);
}

TEST_F(LinuxFeedbackConnectionTest, AStoppedOperationDoesNotWaitForItsReader) {
  std::atomic<int> sent{0};
  std::thread writing([&] {
    for (; sent < 64; ++sent) send(outputMessage(Data(64 << 10, 'x')));
  });
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(sent, 32);
  sd_bus_call_method_async(requestor_->bus(), nullptr, nullptr, wire::controlPath,
                           wire::controlInterface, wire::stopMethod, nullptr, nullptr, "");
  writing.join();
  EXPECT_TRUE(connection_->stopRequest().isSet());
  request_.second.reset();
}

}  // namespace
}  // namespace qrt
