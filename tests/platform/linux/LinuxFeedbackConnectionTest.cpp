#include "platform/linux/LinuxFeedbackConnection.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "protocol/FeedbackMessage.h"
#include "protocol/Names.h"
#include "support/WirePair.h"

namespace qrt {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// The requestor's end: reads only when it is told to.
class Requestor {
 public:
  explicit Requestor(FileDescriptor socket)
      : wire_(std::move(*WireConnection::make(std::move(socket), WireConnection::Role::client))) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(wire::feedbackMethod, "a{sv}", "", receive, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    sd_bus_add_object_vtable(wire_->bus(), nullptr, wire::feedbackPath, wire::feedbackInterface,
                             methods, this);
  }

  bool handshake() { return wire_->handshake(); }

  /// Reads for that long or until the daemon's end is closed.
  void readFor(std::chrono::milliseconds time) {
    const auto end = Clock::now() + time;
    while (Clock::now() < end) {
      const auto progress = wire_->step();
      if (progress == WireConnection::Progress::closed) return;
      if (progress == WireConnection::Progress::made) continue;
      pollfd waiting{wire_->socket(), wire_->pollEvents(), 0};
      poll(&waiting, 1, 20);
    }
  }

  std::vector<Dictionary> messages;

 private:
  static int receive(sd_bus_message*, void* context, sd_bus_error*) {
    auto& self = *static_cast<Requestor*>(context);
    self.messages.push_back(self.wire_->arguments().dictionary());
    return 1;
  }

  std::unique_ptr<WireConnection> wire_;
};

class LinuxFeedbackConnectionTest : public testing::Test {
 protected:
  /// The connection that the request came over.
  test::SocketPair request_;
  test::SocketPair feedback_;
  std::optional<LinuxFeedbackConnection> connection_;
  std::optional<Requestor> requestor_;

  void open() {
    std::vector<FileDescriptor> endpoint;
    endpoint.push_back(std::move(feedback_.first));
    connection_.emplace(std::move(endpoint), request_.first.get());
    requestor_.emplace(std::move(feedback_.second));
    std::thread peer([this] { EXPECT_TRUE(requestor_->handshake()); });
    EXPECT_EQ(connection_->open(progressMessage(0)), success);
    peer.join();
  }
};

TEST_F(LinuxFeedbackConnectionTest, ProgressIsNeverWaitedForAndTheNewestIsKept) {
  open();
  const auto records = recordsMessage(0, {true, Array{"x", 0.5}});
  connection_->processPrivilegedOperationFeedback(records);
  constexpr int steps = 100'000;
  const auto begun = Clock::now();
  for (int i = 1; i <= steps; ++i) {
    connection_->processPrivilegedOperationFeedback(progressMessage(double{1} * i / steps));
  }
  EXPECT_LT(Clock::now() - begun, 3s);
  connection_->processPrivilegedOperationFeedback(finalMessage());
  std::thread closing([this] { connection_->suspend(); });
  requestor_->readFor(5s);
  closing.join();
  ASSERT_GE(requestor_->messages.size(), 4u);
  EXPECT_LT(requestor_->messages.size(), std::size_t{steps});
  EXPECT_EQ(requestor_->messages.back(), finalMessage());
  EXPECT_EQ(requestor_->messages[1], records);
  EXPECT_EQ(requestor_->messages[requestor_->messages.size() - 2], progressMessage(1));
  double last = -1;
  for (const auto& message : requestor_->messages) {
    if (!isProgressOnly(message)) continue;
    const double fraction = message.begin()->second.number()->asDouble();
    EXPECT_GT(fraction, last);
    last = fraction;
  }
}

TEST_F(LinuxFeedbackConnectionTest, ProgressAloneHoldsTheEndUpForFiveSeconds) {
  open();
  // More than the kernel takes on the way, with time for it to be written: what is told faster than
  // that only replaces what waits.
  for (int i = 0; i < 20'000; ++i) {
    connection_->processPrivilegedOperationFeedback(progressMessage(i));
    if (i % 100 == 0) std::this_thread::sleep_for(1ms);
  }
  const auto begun = Clock::now();
  connection_->suspend();
  EXPECT_GE(Clock::now() - begun, 4s);
  EXPECT_LT(Clock::now() - begun, 7s);
}

TEST_F(LinuxFeedbackConnectionTest, OutputWaitsForItsReaderAsLongAsTheRequestorIsThere) {
  open();
  std::atomic<int> sent{0};
  std::thread writing([&] {
    for (; sent < 64; ++sent) {
      connection_->processPrivilegedOperationFeedback(outputMessage(Data(64 << 10, 'x')));
    }
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
