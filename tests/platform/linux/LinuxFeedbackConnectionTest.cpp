#include "platform/linux/wire/LinuxFeedbackConnection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <limits>
#include <thread>

#include "protocol/FeedbackMessage.h"
#include "protocol/Names.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class LinuxFeedbackConnectionTest : public testing::Test {
 protected:
  void SetUp() override {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(wire::feedbackMethod, "a{sv}", "", receive, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    sd_bus_add_object_vtable(requestor_->bus(), nullptr, wire::feedbackPath,
                             wire::feedbackInterface, methods, this);
    std::vector<FileDescriptor> endpoint;
    endpoint.push_back(std::move(feedback_.first));
    connection_.emplace(std::move(endpoint), request_.first.get(), feedbackRemoteInterface);
    std::thread peer([this] { EXPECT_TRUE(requestor_->handshake()); });
    EXPECT_EQ(connection_->open(progressMessage(0)), success);
    peer.join();
  }

  void tell(Dictionary message) {
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
  /// The requestor's end: reads only when it is told to.
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

/// The requestor's end as a client of a bus, which says Hello and wants the answer to that first.
class BusClient {
 public:
  explicit BusClient(FileDescriptor socket) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(wire::feedbackMethod, "a{sv}", "", count, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    EXPECT_GE(sd_bus_new(&bus_), 0);
    EXPECT_GE(sd_bus_set_bus_client(bus_, 1), 0);
    EXPECT_GE(sd_bus_set_fd(bus_, socket.get(), socket.get()), 0);
    socket.release();
    EXPECT_GE(sd_bus_add_object_vtable(bus_, nullptr, wire::feedbackPath, wire::feedbackInterface,
                                       methods, this),
              0);
  }
  ~BusClient() { sd_bus_close_unref(bus_); }

  /// The messages that arrive before the daemon closes its end.
  int messagesToTheEnd() {
    if (sd_bus_start(bus_) < 0) return -1;
    for (int result = 0; result >= 0;) {
      result = sd_bus_process(bus_, nullptr);
      if (result == 0) result = sd_bus_wait(bus_, std::numeric_limits<std::uint64_t>::max());
    }
    return messages_;
  }

 private:
  static int count(sd_bus_message*, void* client, sd_bus_error*) {
    ++static_cast<BusClient*>(client)->messages_;
    return 1;
  }

  sd_bus* bus_ = nullptr;
  int messages_ = 0;
};

TEST(LinuxFeedbackConnection, ABusClientGetsEveryMessage) {
  constexpr int rounds = 100;
  for (int round = 0; round < rounds; ++round) {
    test::SocketPair request, feedback;
    std::vector<FileDescriptor> endpoint;
    endpoint.push_back(std::move(feedback.first));
    LinuxFeedbackConnection connection(std::move(endpoint), request.first.get(),
                                       feedbackRemoteInterface);
    auto received = std::async(std::launch::async, [&] {
      return BusClient(std::move(feedback.second)).messagesToTheEnd();
    });
    ASSERT_EQ(connection.open(progressMessage(0)), success);
    connection.processPrivilegedOperationFeedback(outputMessage({}));
    connection.processPrivilegedOperationFeedback(finalMessage());
    connection.suspend();
    ASSERT_EQ(received.get(), 3) << round;
  }
}

TEST_F(LinuxFeedbackConnectionTest, ProgressIsNeverWaitedForAndTheNewestIsKept) {
  const auto records = recordsMessage(0, {true, Array{"x", 0.5}});
  tell(records);
  constexpr int steps = 100'000;
  const auto begun = Clock::now();
  for (int i = 1; i <= steps; ++i) tell(progressMessage(double{1} * i / steps));
  EXPECT_LT(Clock::now() - begun, 3s);
  tell(finalMessage());
  std::thread closing([this] { connection_->suspend(); });
  readFor(5s);
  closing.join();
  ASSERT_GE(messages_.size(), 4u);
  EXPECT_LT(messages_.size(), std::size_t{steps});
  EXPECT_EQ(messages_.back(), finalMessage());
  EXPECT_EQ(messages_[1], records);
  EXPECT_EQ(messages_[messages_.size() - 2], progressMessage(1));
  double last = -1;
  for (const auto& message : messages_) {
    if (!isProgressOnly(message)) continue;
    const double fraction = message.begin()->second.number()->asDouble();
    EXPECT_GT(fraction, last);
    last = fraction;
  }
}

TEST_F(LinuxFeedbackConnectionTest, ProgressAloneHoldsTheEndUpForFiveSeconds) {
  // More than the kernel takes on the way, with time for it to be written: what is told faster than
  // that only replaces what waits.
  for (int i = 0; i < 20'000; ++i) {
    tell(progressMessage(i));
    if (i % 100 == 0) std::this_thread::sleep_for(1ms);
  }
  const auto begun = Clock::now();
  connection_->suspend();
  EXPECT_GE(Clock::now() - begun, 4s);
  EXPECT_LT(Clock::now() - begun, 7s);
}

TEST_F(LinuxFeedbackConnectionTest, OutputWaitsForItsReaderAsLongAsTheRequestorIsThere) {
  std::atomic<int> sent{0};
  std::thread writing([&] {
    for (; sent < 64; ++sent) tell(outputMessage(Data(64 << 10, 'x')));
    connection_->suspend();
  });
  std::this_thread::sleep_for(300ms);
  EXPECT_LT(sent, 32);  // A megabyte waits here, a little in the kernel.
  const auto begun = Clock::now();
  request_.second.reset();  // The request's connection ends; the feedback socket stays open.
  writing.join();
  EXPECT_LT(Clock::now() - begun, 2s);
}

}  // namespace
}  // namespace qrt
