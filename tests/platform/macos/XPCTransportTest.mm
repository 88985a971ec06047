// Both sides of the transport in one process, without launchd.
#include <gmock/gmock.h>

#include <limits>
#include <thread>

#include "platform/macos/MacosFacilities.h"
#include "platform/macos/xpc/ExportedHelper.h"
#include "platform/macos/xpc/XPCHelperConnection.h"
#include "platform/macos/xpc/XPCListener.h"
#include "protocol/FeedbackMessage.h"

namespace qrt {
namespace {

const Dictionary oneOfEveryKind{
    {"no text \xFF", "\xFF/\xFE"},
    {"numbers", Array{true, std::numeric_limits<std::uint64_t>::max(), 0.5}},
    {"data", Data{0, 255}},
    {"date", Date{1.5}},
    {"nested", Array{Array{}, Dictionary{{"inner", 1}}}},
};

/// Answers what it was sent, after it has sent that as feedback.
class EchoingHelper : public QRTPrivilegedHelperProtocol, public ListenerDelegate {
 public:
  explicit EchoingHelper(Listener& listener) : listener_(listener) {
    listener.setDelegate(*this);
    EXPECT_EQ(listener.resume(), success);
  }

  std::size_t unreadableCount = 0;
  std::chrono::milliseconds duration{0};

  bool shouldAcceptNewConnection(Listener& listener, IncomingConnection* connection) override {
    if (&listener != &listener_ || !connection) return false;
    connection->setExportedObject(*this);
    connection->resume();
    return true;
  }

  std::unique_ptr<ListenerEndpoint> connectWithEndpoint(const Caller& caller) override {
    return listener_.endpoint(caller);
  }
  std::string getVersionString() override { return "1.6"; }
  bool registerClientWithPID(const Caller&, std::int32_t) override { return true; }
  void unregisterClientWithPID(const Caller&, std::int32_t) override {}

  Outcome performPrivilegedOperation(const Caller&, std::uint64_t, const Data&,
                                     FeedbackEndpoint* endpoint,
                                     RequestArguments* arguments) override {
    if (!arguments || !arguments->areReadable()) {
      unreadableCount = arguments ? arguments->count() : 0;
      return posixError(PosixCode::invalidArgument);
    }
    const auto values = arguments->decode();
    bool isStopped = false;
    if (endpoint) {
      const auto feedback = endpoint->connect(feedbackRemoteInterface);
      EXPECT_EQ(feedback->open(progressMessage(0)), success);
      for (const auto& argument : values) {
        feedback->processPrivilegedOperationFeedback(*argument.dictionary());
      }
      feedback->processPrivilegedOperationFeedback(progressMessage(0.5));
      feedback->processPrivilegedOperationFeedback(progressMessage(1));
      feedback->processPrivilegedOperationFeedback(finalMessage());
      std::this_thread::sleep_for(std::chrono::milliseconds(250));
      isStopped = feedback->stopRequest().isSet();
      feedback->suspend();
    }
    std::this_thread::sleep_for(duration);
    return isStopped ? Outcome(posixError(PosixCode::canceled)) : success;
  }

 private:
  Listener& listener_;
};

class XPCTransportTest : public testing::Test {
 protected:
  ~XPCTransportTest() override { native_.invalidate(); }

  XPCListener native_{[NSXPCListener anonymousListener]};
  EchoingHelper helper_{native_};
  std::unique_ptr<HelperConnection> connection_ = connect().value();

  NSXPCConnection* rawConnection() {
    const auto endpoint = native_.endpoint({});
    return [[NSXPCConnection alloc]
        initWithListenerEndpoint:static_cast<const MacosListenerEndpoint&>(*endpoint).endpoint];
  }

  Result<std::unique_ptr<HelperConnection>> connect() {
    return XPCHelperConnection::over(rawConnection());
  }
};

TEST_F(XPCTransportTest, ArgumentsOverTheLimitsKeepTheirNumber) {
  const Data large(17 << 20);
  EXPECT_EQ(connection_->performPrivilegedOperation(0, {}, {}, {large, 1}),
            posixError(PosixCode::invalidArgument));
  EXPECT_EQ(helper_.unreadableCount, 2u);
}

TEST_F(XPCTransportTest, ArgumentsThatAreNoArrayAreNoneOrEndTheConnection) {
  const auto connection = rawConnection();
  connection.remoteObjectInterface = helperXPCInterface();
  [connection resume];
  for (id sent in @[ @"text", @{}, @1 ]) {
    __block NSInteger code = 0;
    id<QRTPrivilegedHelperProtocol> helper =
        [connection synchronousRemoteObjectProxyWithErrorHandler:^(NSError* error) {
          code = error.code;
        }];
    [helper performPrivilegedOperation:0
                 withAuthorizationData:NSData.data
                      feedbackEndpoint:nil
                             arguments:sent
                            usingReply:^(NSError* error) {
                              code = error.code;
                            }];
    EXPECT_THAT(code, testing::AnyOf(number(PosixCode::invalidArgument), 4097, 4099));
  }
  [connection invalidate];
  EXPECT_EQ(connection_->getVersionString().value(), "1.6");
}

TEST_F(XPCTransportTest, FeedbackComesInOrderAndBeforeTheReply) {
  std::vector<Dictionary> received;
  const auto thread = std::this_thread::get_id();
  const auto handler = [&](const Dictionary& message) {
    EXPECT_EQ(std::this_thread::get_id(), thread);
    received.push_back(message);
  };
  EXPECT_EQ(connection_->performPrivilegedOperation(0, {}, handler, {oneOfEveryKind}), success);
  // Of the two progress messages in a row the first may have given way to the second.
  ASSERT_GE(received.size(), 4u);
  EXPECT_EQ(received[0], progressMessage(0));
  EXPECT_EQ(received[1], oneOfEveryKind);
  EXPECT_EQ(received.end()[-2], progressMessage(1));
  EXPECT_EQ(received.back(), finalMessage());
}

TEST_F(XPCTransportTest, ARequestToStopReachesItsOperationOnly) {
  const auto stop = [&](const Dictionary&) { connection_->stopOperation(); };
  EXPECT_EQ(connection_->performPrivilegedOperation(0, {}, stop, {}),
            posixError(PosixCode::canceled));
  const auto listen = [](const Dictionary&) {};
  EXPECT_EQ(connection_->performPrivilegedOperation(0, {}, listen, {}), success);
}

TEST_F(XPCTransportTest, AnInterruptionEndsTheCallAndNotTheNext) {
  helper_.duration = std::chrono::milliseconds(500);
  std::thread interrupter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    connection_->interrupt();
  });
  const auto outcome = connection_->performPrivilegedOperation(0, {}, {}, {});
  interrupter.join();
  EXPECT_EQ(outcome, posixError(PosixCode::interrupted));
  EXPECT_EQ(connection_->getVersionString().value(), "1.6");
}

}  // namespace
}  // namespace qrt
