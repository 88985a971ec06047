#include "platform/linux/wire/LinuxFeedbackConnection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <system_error>

#include "platform/linux/wire/WireWriter.h"
#include "platform/posix/NativeError.h"
#include "protocol/ConnectionErrors.h"
#include "protocol/FeedbackMessage.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

Error invalid(std::string description) {
  return connectionError(connection_error::invalid, std::move(description));
}

bool isConnectedStream(int socket) {
  int type = 0;
  socklen_t length = sizeof type;
  if (getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &length) < 0 || type != SOCK_STREAM) {
    return false;
  }
  sockaddr_un peer;
  length = sizeof peer;
  return getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length) == 0 &&
         peer.sun_family == AF_UNIX;
}

std::size_t weight(const PropertyValue& value);

std::size_t weight(const Dictionary& entries) {
  std::size_t bytes = 0;
  for (const auto& [key, element] : entries) bytes += key.size() + weight(element);
  return bytes;
}

std::size_t weight(const PropertyValue& value) {
  std::size_t bytes = sizeof value;
  if (const auto* text = value.string()) bytes += text->size();
  if (const auto* data = value.data()) bytes += data->size();
  if (const auto* array = value.array()) {
    for (const auto& element : *array) bytes += weight(element);
  }
  if (const auto* dictionary = value.dictionary()) bytes += weight(*dictionary);
  return bytes;
}

/// Roughly the memory of a message that waits.
std::size_t weight(const FeedbackMessage& message) {
  const auto* records = std::get_if<RecordsMessage>(&message);
  const auto content = records ? records->records.bytes() : weight(std::get<Dictionary>(message));
  return sizeof message + content;
}

}  // namespace

/// "/com/vantor/QRTThing" and "com.vantor.QRTThingProtocol" are the names for "QRTThingProtocol".
LinuxFeedbackConnection::LinuxFeedbackConnection(std::vector<FileDescriptor> endpoint,
                                                 int requestor, const RemoteInterface& interface)
    : endpoint_(std::move(endpoint)),
      requestor_(requestor),
      method_{"/com/vantor/" +
                  std::string(interface.protocol.substr(0, interface.protocol.rfind("Protocol"))),
              "com.vantor." + std::string(interface.protocol),
              std::string(interface.method.substr(0, interface.method.find(':')))} {}

LinuxFeedbackConnection::~LinuxFeedbackConnection() { suspend(); }

Outcome LinuxFeedbackConnection::connect() {
  if (endpoint_.size() != 1) return invalid("More than one feedback endpoint was sent.");
  if (!isConnectedStream(endpoint_.front().get())) {
    return invalid("The feedback endpoint is no connected socket.");
  }
  auto wire = WireConnection::make(std::move(endpoint_.front()), WireConnection::Role::server);
  wake_.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!wire || !wake_) return invalid("There are no resources for a feedback connection.");
  wire_ = std::move(*wire);
  wire_->limitInput(inputLimit);
  static const sd_bus_vtable control[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD(
          wire::stopMethod, "", "",
          [](sd_bus_message* call, void* context, sd_bus_error*) {
            static_cast<LinuxFeedbackConnection*>(context)->stop();
            return sd_bus_reply_method_return(call, nullptr);
          },
          SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  wire_->addObject(wire::controlPath, wire::controlInterface, control, this);
  if (!wire_->handshake()) return invalid("Nobody answered at the feedback endpoint.");
  // A library that says Hello takes the first message that it gets for the answer.
  wire_->stepUntil([this] { return wire_->wasGreeted(); }, Clock::now() + greetingPatience);
  return success;
}

Outcome LinuxFeedbackConnection::open(Dictionary firstMessage) {
  if (auto failure = connect()) return failure;
  if (!send(firstMessage)) return invalid("The feedback endpoint did not accept a message.");
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    return invalid("There are no resources for a feedback connection.");
  }
  return success;
}

bool LinuxFeedbackConnection::send(const FeedbackMessage& message) {
  // A library that has a name takes a call without one for a broadcast, which it does not dispatch.
  const char* destination = wire_->wasGreeted() ? wire::peerName : nullptr;
  sd_bus_message* made = nullptr;
  int result =
      sd_bus_message_new_method_call(wire_->bus(), &made, destination, method_.path.c_str(),
                                     method_.interface.c_str(), method_.name.c_str());
  const BusMessage call(made);
  if (result >= 0) result = sd_bus_message_set_expect_reply(made, 0);
  if (result >= 0) result = wire::appendFeedback(made, message);
  if (result >= 0) result = sd_bus_send(wire_->bus(), made, nullptr);
  return result >= 0;
}

/// `times` multiplies what may wait.
bool LinuxFeedbackConnection::isFull(std::size_t further, std::size_t times) const {
  return !waiting_.empty() && (waiting_.size() >= times * maximumWaiting ||
                               waitingBytes_ + further > times * maximumWaitingBytes);
}

/// Wakes the operation if it waits for room.
void LinuxFeedbackConnection::stop() {
  const std::lock_guard lock(mutex_);
  stopRequest_.set();
  changed_.notify_all();
}

void LinuxFeedbackConnection::enqueue(FeedbackMessage message, bool canBeLost) {
  const auto bytes = weight(message);
  waitingBytes_ += bytes;
  waiting_.push_back({std::move(message), bytes, canBeLost});
}

void LinuxFeedbackConnection::wakeThread() { eventfd_write(wake_.get(), 1); }

void LinuxFeedbackConnection::processPrivilegedOperationFeedback(FeedbackMessage message) {
  const bool isProgress = isProgressOnly(message);
  const bool isFinal = isFinalMessage(message);
  const auto bytes = weight(message);
  {
    std::unique_lock lock(mutex_);
    if (lostRequestor_) return;
    if (isProgress && (newestProgress_ || isFull(bytes))) {
      newestProgress_ = std::move(message);
      return;
    }
    if (!isFinal) {
      changed_.wait(lock, [&] { return lostRequestor_ || stopRequest_.isSet() || !isFull(bytes); });
      // A stopped search sends its last records. What a stopped program still writes can be lost.
      constexpr std::size_t timesWhenStopped = 2;
      if (lostRequestor_ || isFull(bytes, timesWhenStopped)) return;
    }
    if (newestProgress_) enqueue(*std::exchange(newestProgress_, std::nullopt), true);
    enqueue(std::move(message), isProgress || isFinal);
  }
  wakeThread();
}

void LinuxFeedbackConnection::suspend() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    closingSince_ = Clock::now();
  }
  wakeThread();
  thread_.join();
  wire_.reset();
}

void LinuxFeedbackConnection::run() {
  for (;;) {
    const auto progress = wire_->step();
    if (progress == WireConnection::Progress::closed) break;
    if (progress == WireConnection::Progress::made) continue;
    if (!wire_->hasQueuedOutput() && sendWaiting()) continue;
    if (!waitForEvents()) break;
  }
  const std::lock_guard lock(mutex_);
  lostRequestor_ = true;
  waiting_.clear();
  newestProgress_.reset();
  changed_.notify_all();
}

/// Writes the oldest message. False when no message waits.
bool LinuxFeedbackConnection::sendWaiting() {
  Waiting next;
  {
    const std::lock_guard lock(mutex_);
    if (waiting_.empty() && newestProgress_) {
      enqueue(*std::exchange(newestProgress_, std::nullopt), true);
    }
    if (waiting_.empty()) {
      writingMustArrive_ = false;
      return false;
    }
    next = std::move(waiting_.front());
    waiting_.pop_front();
    waitingBytes_ -= next.bytes;
    writingMustArrive_ = !next.canBeLost;
    changed_.notify_all();
  }
  send(next.message);
  return true;
}

/// Returns false to end the connection: it is closing and everything was written, the requestor is
/// gone, or its time is over.
bool LinuxFeedbackConnection::waitForEvents() {
  int patience = -1;
  {
    const std::lock_guard lock(mutex_);
    if (closingSince_) {
      if (waiting_.empty() && !newestProgress_ && !wire_->hasQueuedOutput()) return false;
      bool mustArrive = writingMustArrive_;
      for (const auto& message : waiting_) mustArrive |= !message.canBeLost;
      if (!mustArrive) {
        const auto left = *closingSince_ + progressPatience - Clock::now();
        patience = static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count());
        if (patience <= 0) return false;
      }
    }
  }
  pollfd events[] = {
      {wire_->socket(), wire_->pollEvents(), 0}, {wake_.get(), POLLIN, 0}, {requestor_, 0, 0}};
  if (poll(events, std::size(events), patience) < 0) return errno == EINTR;
  if (events[1].revents != 0) {
    eventfd_t count;
    eventfd_read(wake_.get(), &count);
  }
  return (events[2].revents & (POLLHUP | POLLERR)) == 0;
}

}  // namespace qrt
