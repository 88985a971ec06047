#include "platform/HelperConnection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/wire/WireConnection.h"
#include "platform/linux/wire/WireWriter.h"
#include "platform/posix/NativeError.h"
#include "protocol/ConnectionErrors.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// The error for an error reply of the helper.
Error errorOf(const sd_bus_error& reply) {
  if (sd_bus_error_has_name(&reply, SD_BUS_ERROR_ACCESS_DENIED) != 0) {
    return posixError(PosixCode::notPermitted);
  }
  return connectionError(connection_error::invalid, reply.message ? reply.message : reply.name);
}

Error interrupted() {
  return connectionError(connection_error::interrupted,
                         "The connection to the helper was interrupted.");
}

Error unanswered() {
  return connectionError(connection_error::invalid,
                         "The helper did not answer within " +
                             std::to_string(helperAnswerLimit().count()) + " seconds.");
}

using Clock = std::chrono::steady_clock;

/// For `poll`: the milliseconds until the deadline, or for ever without one.
int patienceUntil(std::optional<Clock::time_point> deadline) {
  if (!deadline) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
  return static_cast<int>(std::max<std::int64_t>(left, 0));
}

/// The requestor's end of a feedback socket, which passes every message to the handler. It says
/// Hello, so that the helper need not wait for it.
class FeedbackReceiver {
 public:
  FeedbackReceiver(std::unique_ptr<WireConnection> wire, const FeedbackHandler& handler)
      : wire_(std::move(wire)), handler_(handler) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD_WITH_ARGS(wire::feedbackMethod, SD_BUS_ARGS("a{sv}", message),
                                SD_BUS_NO_RESULT, receive, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    wire_->addObject(wire::feedbackPath, wire::feedbackInterface, methods, this);
  }

  int socket() const { return wire_->socket(); }
  short pollEvents() const { return wire_->pollEvents(); }

  /// Once the connection is complete.
  void stopOperation() {
    isStopWanted_ = !hasGreeted_;
    if (isStopWanted_) return;
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_call(wire_->bus(), &made, nullptr, wire::controlPath,
                                                wire::controlInterface, wire::stopMethod);
    const BusMessage call(made);
    if (result >= 0) result = sd_bus_message_set_expect_reply(made, 0);
    if (result >= 0) sd_bus_send(wire_->bus(), made, nullptr);
  }

  WireConnection::Progress step() {
    const auto progress = wire_->step();
    if (!hasGreeted_ && wire_->isReady() && !wire_->hasPeerLeft()) greet();
    return progress;
  }

 private:
  void greet() {
    hasGreeted_ = true;
    if (std::exchange(isStopWanted_, false)) stopOperation();
    sd_bus_call_method_async(wire_->bus(), nullptr, nullptr, "/org/freedesktop/DBus",
                             "org.freedesktop.DBus", "Hello", receiveAnswer, this, nullptr);
  }

  static int receiveAnswer(sd_bus_message*, void* context, sd_bus_error*) {
    static_cast<FeedbackReceiver*>(context)->wire_->noteDispatched();
    return 1;
  }

  static int receive(sd_bus_message* call, void* context, sd_bus_error*) {
    auto& self = *static_cast<FeedbackReceiver*>(context);
    auto arguments = self.wire_->arguments();
    const auto message = arguments.dictionary();
    if (arguments.ok()) self.handler_(message);
    return sd_bus_reply_method_return(call, nullptr);
  }

  std::unique_ptr<WireConnection> wire_;
  const FeedbackHandler& handler_;
  bool hasGreeted_ = false;
  bool isStopWanted_ = false;
};

class LinuxHelperConnection : public HelperConnection {
 public:
  LinuxHelperConnection(std::unique_ptr<WireConnection> wire, FileDescriptor wake)
      : wire_(std::move(wire)), wake_(std::move(wake)) {}

  static Result<std::unique_ptr<HelperConnection>> over(FileDescriptor socket);

  Result<std::string> getVersionString() override {
    std::string version;
    auto failure = call(wire::helperInterface, "getVersionString", noArguments,
                        [&](WireConnection& wire) { version = wire.arguments().string(); });
    if (failure) return *failure;
    return version;
  }

  Outcome registerClientWithPID(std::int32_t identifier) override {
    return call(wire::helperInterface, "registerClientWithPID", with(identifier), ignoreReply);
  }

  Outcome unregisterClientWithPID(std::int32_t identifier) override {
    auto failure =
        call(wire::helperInterface, "unregisterClientWithPID", with(identifier), ignoreReply);
    const bool helperEnded = failure && failure->code == connection_error::interrupted;
    return helperEnded ? success : failure;
  }

  void unregisterClientWithPIDLater(std::int32_t identifier) override {
    const auto message =
        callMessage(wire::helperInterface, "unregisterClientWithPID", with(identifier));
    if (!message) return;
    sd_bus_message_set_expect_reply(message.get(), 0);
    sd_bus_send(wire_->bus(), message.get(), nullptr);
  }

  Result<Data> createExternalForm() override {
    Data form;
    auto failure = call(wire::authorityInterface, "createExternalForm", noArguments,
                        [&](WireConnection& wire) { form = wire.arguments().data(); });
    if (failure) return *failure;
    return form;
  }

  Result<std::unique_ptr<HelperConnection>> connectWithEndpoint() override {
    FileDescriptor socket;
    auto failure =
        call(wire::helperInterface, "connectWithEndpoint", noArguments, [&](WireConnection& wire) {
          if (!wire.descriptors().empty()) socket = std::move(wire.descriptors().front());
        });
    if (failure) return *failure;
    return over(std::move(socket));
  }

  Outcome performPrivilegedOperation(std::uint64_t code, const Data& authorizationData,
                                     const FeedbackHandler& handler,
                                     const Array& arguments) override;

  void stopOperation() override {
    isStopWanted_ = true;
    eventfd_write(wake_.get(), 1);
  }

  void interrupt() override {
    isInterrupted_ = true;
    eventfd_write(wake_.get(), 1);
  }

 private:
  /// Reads what a reply carries; called while the connection dispatches it.
  using ReplyReader = std::function<void(WireConnection&)>;
  using ArgumentWriter = std::function<int(sd_bus_message*)>;

  struct PendingReply {
    WireConnection& wire;
    const ReplyReader& read;
    Outcome outcome;
    bool arrived = false;
  };

  static int noArguments(sd_bus_message*) { return 0; }
  static void ignoreReply(WireConnection&) {}
  static ArgumentWriter with(std::int32_t identifier) {
    return [identifier](sd_bus_message* call) {
      return sd_bus_message_append_basic(call, 'i', &identifier);
    };
  }

  /// Null when it cannot be made.
  BusMessage callMessage(const char* interface, const char* method, const ArgumentWriter& write);

  static int receiveReply(sd_bus_message* reply, void* context, sd_bus_error*);
  /// With the limit of `helperAnswerLimit()`.
  Outcome call(const char* interface, const char* method, const ArgumentWriter& write,
               const ReplyReader& read);
  Outcome callUntil(std::optional<Clock::time_point> deadline, const char* interface,
                    const char* method, const ArgumentWriter& write, const ReplyReader& read,
                    FeedbackReceiver* feedback = nullptr);
  Outcome wait(PendingReply& reply, FeedbackReceiver* feedback,
               std::optional<Clock::time_point> deadline);

  std::unique_ptr<WireConnection> wire_;
  /// The thread that waits looks at the flags.
  FileDescriptor wake_;
  std::atomic<bool> isStopWanted_ = false;
  std::atomic<bool> isInterrupted_ = false;
  /// It did not answer in time.
  bool isHelperSilent_ = false;
};

Result<std::unique_ptr<HelperConnection>> LinuxHelperConnection::over(FileDescriptor socket) {
  const auto unusable = [] {
    return connectionError(connection_error::invalid,
                           "The connection to the helper cannot be used.");
  };
  if (!socket) return unusable();
  auto wire = WireConnection::make(std::move(socket), WireConnection::Role::client);
  FileDescriptor wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!wire || !wake) return unusable();
  const auto deadline = Clock::now() + helperAnswerLimit();
  if (!(*wire)->handshake(helperAnswerLimit())) {
    return Clock::now() < deadline ? unusable() : unanswered();
  }
  return std::unique_ptr<HelperConnection>(
      std::make_unique<LinuxHelperConnection>(std::move(*wire), std::move(wake)));
}

int LinuxHelperConnection::receiveReply(sd_bus_message* reply, void* context, sd_bus_error*) {
  auto& pending = *static_cast<PendingReply*>(context);
  pending.wire.noteDispatched();
  pending.arrived = true;
  if (const auto* failure = sd_bus_message_get_error(reply)) {
    pending.outcome = errorOf(*failure);
  } else {
    pending.read(pending.wire);
  }
  return 1;
}

BusMessage LinuxHelperConnection::callMessage(const char* interface, const char* method,
                                              const ArgumentWriter& write) {
  sd_bus_message* made = nullptr;
  const int result = sd_bus_message_new_method_call(wire_->bus(), &made, nullptr, wire::helperPath,
                                                    interface, method);
  BusMessage message(made);
  if (result < 0 || write(made) < 0) message.reset();
  return message;
}

Outcome LinuxHelperConnection::call(const char* interface, const char* method,
                                    const ArgumentWriter& write, const ReplyReader& read) {
  if (isHelperSilent_) return unanswered();
  return callUntil(Clock::now() + helperAnswerLimit(), interface, method, write, read);
}

Outcome LinuxHelperConnection::callUntil(std::optional<Clock::time_point> deadline,
                                         const char* interface, const char* method,
                                         const ArgumentWriter& write, const ReplyReader& read,
                                         FeedbackReceiver* feedback) {
  constexpr auto noTimeLimit = std::numeric_limits<std::uint64_t>::max();
  PendingReply pending{*wire_, read, success};
  const auto message = callMessage(interface, method, write);
  if (!message) return interrupted();
  sd_bus_slot* slot = nullptr;
  const int result =
      sd_bus_call_async(wire_->bus(), &slot, message.get(), receiveReply, &pending, noTimeLimit);
  if (result < 0) return interrupted();
  auto outcome = wait(pending, feedback, deadline);
  sd_bus_slot_unref(slot);
  return outcome;
}

/// Runs the connection and the feedback until the reply has arrived.
Outcome LinuxHelperConnection::wait(PendingReply& reply, FeedbackReceiver* feedback,
                                    std::optional<Clock::time_point> deadline) {
  using Progress = WireConnection::Progress;
  const auto pumpFeedback = [&] {
    auto progress = Progress::made;
    while (feedback && progress == Progress::made && !isInterrupted_) {
      if (isStopWanted_.exchange(false)) feedback->stopOperation();
      progress = feedback->step();
    }
    if (progress == Progress::closed) feedback = nullptr;
  };
  while (!reply.arrived) {
    pollfd events[] = {
        {wire_->socket(), wire_->pollEvents(), 0}, {wake_.get(), POLLIN, 0}, {-1, 0, 0}};
    if (feedback) events[2] = {feedback->socket(), feedback->pollEvents(), 0};
    const int ready = poll(events, std::size(events), patienceUntil(deadline));
    if (ready == 0) {
      isHelperSilent_ = true;
      return unanswered();
    }
    if (ready < 0) {
      if (errno == EINTR) continue;
      return interrupted();
    }
    if (events[1].revents != 0) {
      eventfd_t count;
      eventfd_read(wake_.get(), &count);
      if (isInterrupted_.exchange(false)) return posixError(PosixCode::interrupted);
    }
    if (events[1].revents != 0 || events[2].revents != 0) pumpFeedback();
    if (events[0].revents != 0 && wire_->step() == Progress::closed) break;
  }
  if (!reply.arrived) return interrupted();
  // Feedback that was sent before the reply is handled before it.
  pumpFeedback();
  return reply.outcome;
}

Outcome LinuxHelperConnection::performPrivilegedOperation(std::uint64_t code,
                                                          const Data& authorizationData,
                                                          const FeedbackHandler& handler,
                                                          const Array& arguments) {
  FileDescriptor endpoint;
  std::optional<FeedbackReceiver> receiver;
  if (handler) {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) < 0) {
      return posixError(lastError());
    }
    endpoint.reset(pair[0]);
    auto wire = WireConnection::make(FileDescriptor(pair[1]), WireConnection::Role::client);
    if (!wire) return posixError(wire.error());
    receiver.emplace(std::move(*wire), handler);
  }

  const auto write = [&](sd_bus_message* call) {
    int result = sd_bus_message_append_basic(call, 't', &code);
    if (result >= 0) result = wire::appendData(call, authorizationData);
    if (result >= 0) result = sd_bus_message_open_container(call, 'a', "h");
    if (result >= 0 && endpoint) {
      const int descriptor = endpoint.get();
      result = sd_bus_message_append_basic(call, 'h', &descriptor);
    }
    if (result >= 0) result = sd_bus_message_close_container(call);
    if (result >= 0) result = wire::appendArray(call, arguments);
    // The message has its own copy; the socket must end when the helper closes its end.
    endpoint.reset();
    return result;
  };
  Outcome answer;
  const auto read = [&](WireConnection& wire) {
    auto reader = wire.arguments();
    Error error;
    error.domain = reader.string();
    error.code = reader.int64();
    error.userInfo = reader.dictionary();
    if (!reader.atEnd()) {
      answer = connectionError(connection_error::invalid, "The helper's reply makes no sense.");
    } else if (!error.domain.empty()) {
      answer = std::move(error);
    }
  };
  auto failure = callUntil(std::nullopt, wire::helperInterface, "performPrivilegedOperation", write,
                           read, receiver ? &*receiver : nullptr);
  isStopWanted_ = false;
  return failure ? failure : answer;
}

/// How long a call on the socket may wait until the peer takes what is sent; 0 is no limit.
void limitSending(const FileDescriptor& socket, std::chrono::seconds limit) {
  const timeval time{static_cast<time_t>(limit.count()), 0};
  setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
}

/// Connects to the socket at an absolute path.
class LinuxHelperConnector : public HelperConnector {
 public:
  Result<std::unique_ptr<HelperConnection>> connect(const std::string& address) override;
};

Result<std::unique_ptr<HelperConnection>> LinuxHelperConnector::connect(
    const std::string& address) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  if (address.empty() || address.size() >= sizeof name.sun_path) {
    return connectionError(connection_error::invalid,
                           "'" + address + "' is no address of a socket.");
  }
  std::memcpy(name.sun_path, address.data(), address.size());
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket) return posixError(lastError());
  limitSending(socket, helperAnswerLimit());
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) < 0) {
    if (errno == EAGAIN) return unanswered();
    auto error = connectionError(connection_error::invalid,
                                 "The helper cannot be reached at '" + address + "'.");
    error.userInfo.emplace(underlyingErrorKey, posixError(lastError()));
    return error;
  }
  limitSending(socket, std::chrono::seconds(0));
  return LinuxHelperConnection::over(std::move(socket));
}

}  // namespace

std::chrono::seconds helperAnswerLimit() { return std::chrono::seconds(10); }

std::unique_ptr<HelperConnector> makeHelperConnector() {
  return std::make_unique<LinuxHelperConnector>();
}

std::string defaultHelperAddress() { return std::string(defaultSocketPath); }

}  // namespace qrt
