#include "platform/linux/wire/WireConnection.h"

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "platform/posix/NativeError.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// A handshake is a handful of short lines.
constexpr std::size_t maximumHandshakeBytes = 16 << 10;
constexpr std::size_t smallestRead = 4 << 10;
constexpr std::size_t largestRead = 256 << 10;
constexpr std::size_t maximumDescriptors = 64;
/// libsystemd asks for 8 MiB, which a peer that does not read would make the kernel hold.
constexpr int sendBufferBytes = 256 << 10;

int noteDispatch(sd_bus_message*, void* connection, sd_bus_error*) {
  static_cast<WireConnection*>(connection)->noteDispatched();
  return 0;
}

/// On a bus this gives the caller its name. Every library that expects a bus begins with it.
int answerHello(sd_bus_message* call, void* connection, sd_bus_error*) {
  static_cast<WireConnection*>(connection)->noteGreeting();
  return sd_bus_reply_method_return(call, "s", wire::peerName);
}

}  // namespace

PosixResult<std::unique_ptr<WireConnection>> WireConnection::make(FileDescriptor socket,
                                                                  Role role) {
  std::unique_ptr<WireConnection> connection(new WireConnection(role));
  const auto code = connection->start(std::move(socket));
  if (code != PosixCode::success) return code;
  return connection;
}

PosixCode WireConnection::start(FileDescriptor socket) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair) < 0) {
    return lastError();
  }
  feed_.reset(pair[0]);
  FileDescriptor input(pair[1]);
  FileDescriptor output(fcntl(socket.get(), F_DUPFD_CLOEXEC, 3));
  if (!output) return lastError();
  socket_ = std::move(socket);

  sd_bus* bus = nullptr;
  if (const int result = sd_bus_new(&bus); result < 0) return contractCode(-result);
  bus_.reset(bus);
  if (const int result = prepareBus(input.get(), output.get()); result < 0) {
    return contractCode(-result);
  }
  input_ = input.release();  // libsystemd's from here on.
  output_ = output.release();
  if (const int result = sd_bus_start(bus); result < 0) return contractCode(-result);
  // It made the socket one that never blocks, which its own calls do not depend on.
  const int status = fcntl(socket_.get(), F_GETFL);
  if (status < 0 || fcntl(socket_.get(), F_SETFL, status & ~O_NONBLOCK) < 0) return lastError();
  setsockopt(socket_.get(), SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof sendBufferBytes);

  static const sd_bus_vtable methodsOfABus[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("Hello", "", "s", answerHello, SD_BUS_VTABLE_UNPRIVILEGED), SD_BUS_VTABLE_END};
  if (role_ == Role::server) {
    addObject("/org/freedesktop/DBus", "org.freedesktop.DBus", methodsOfABus, this);
  }
  return PosixCode::success;
}

/// Returns a negative error number of the system when a step fails.
int WireConnection::prepareBus(int input, int output) {
  sd_id128_t identifier;
  int result = sd_id128_randomize(&identifier);
  if (result >= 0 && role_ == Role::server) result = sd_bus_set_server(bus(), 1, identifier);
  // The kernel has said who the peer is; what the peer claims in the handshake does not matter.
  if (result >= 0) result = sd_bus_set_anonymous(bus(), 1);
  if (result >= 0) result = sd_bus_negotiate_fds(bus(), 1);
  if (result >= 0) result = sd_bus_add_filter(bus(), nullptr, noteDispatch, this);
  if (result >= 0) result = sd_bus_set_fd(bus(), input, output);
  return result;
}

void WireConnection::takeLargeMessages(LargeMessageQueue& queue, std::uint32_t user) {
  largeMessages_.emplace(LargeMessages{queue, user});
}

bool WireConnection::hasQueuedOutput() const {
  std::uint64_t waiting = 0;
  return sd_bus_get_n_queued_write(bus(), &waiting) >= 0 && waiting > 0;
}

bool WireConnection::hasPeerLeft() const {
  pollfd peer{socket(), 0, 0};
  return poll(&peer, 1, 0) == 1 && (peer.revents & POLLHUP) != 0;
}

short WireConnection::pollEvents() const {
  const bool hasOutput = hasQueuedOutput();
  // A peer that does not take its replies is not served further ones without a limit.
  const bool mayRead = isReading_ && (!hasOutput || inputLimit_);
  return static_cast<short>((hasOutput ? POLLOUT : 0) | (mayRead ? POLLIN : 0));
}

WireReader WireConnection::arguments() const {
  const auto body = std::span(received_).subspan(frame_.headerLength, frame_.bodyLength);
  return {body, frame_.bigEndian};
}

void WireConnection::addObject(const char* path, const char* interface,
                               const sd_bus_vtable* methods, void* context) {
  // libsystemd makes a key of its tables when the first one is filled, and guards it by nothing.
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  sd_bus_add_object_vtable(bus(), nullptr, path, interface, methods, context);
}

ReceivedMessage WireConnection::takeMessage() {
  descriptors_.clear();
  const auto frame = std::exchange(frame_, MessageFrame());
  return {std::exchange(received_, {}), frame.headerLength, frame.bigEndian, std::move(turn_)};
}

bool WireConnection::isReady() const { return sd_bus_is_ready(bus()) > 0; }

bool WireConnection::handshake(std::chrono::milliseconds limit) {
  return stepUntil([this] { return isReady(); }, Clock::now() + limit);
}

bool WireConnection::stepUntil(const std::function<bool()>& isDone, Clock::time_point deadline) {
  while (!isDone()) {
    const auto progress = step();
    if (progress == Progress::closed) return false;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    if (progress == Progress::made) continue;
    pollfd waiting{socket(), pollEvents(), 0};
    if (poll(&waiting, 1, static_cast<int>(left)) == 0) return false;
  }
  return true;
}

/// A write that fails would make libsystemd give up reading too.
void WireConnection::dropOutput() {
  const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (nowhere) dup3(nowhere.get(), output_, O_CLOEXEC);
}

WireConnection::Progress WireConnection::step(Patience patience) {
  dispatched_ = false;
  if (hasQueuedOutput()) {
    if (hasPeerLeft()) dropOutput();
    if (!process()) return Progress::closed;
    if (hasQueuedOutput() && !inputLimit_) return Progress::waits;
  }
  if (isReading_) return readAndDispatch(patience);
  return hasPeerLeft() ? Progress::closed : Progress::waits;
}

/// Of a connection with limited input only the reading ends.
WireConnection::Progress WireConnection::refuse() {
  if (!inputLimit_ || !isReady()) return Progress::closed;
  shutdown(socket(), SHUT_RD);
  descriptors_.clear();
  isReading_ = false;
  return Progress::made;
}

WireConnection::Progress WireConnection::readAndDispatch(Patience patience) {
  const bool isHandshake = !isReady();
  const auto read = isHandshake ? readHandshakeLine() : readMessage(patience);
  if (read == Read::waits) return Progress::waits;
  if (read == Read::refused) return refuse();
  if (read == Read::failed) return Progress::closed;
  if (!hasAnnouncedDescriptors(isHandshake)) return refuse();
  if (inputLimit_ && !descriptors_.empty()) return refuse();

  const bool isLarge = received_.size() > LargeMessageQueue::largestWithout;
  const bool alive = feed() && (!isHandshake || !isReady() || feedThroughPipe());
  received_.clear();
  descriptors_.clear();
  if (isLarge) {
    received_.shrink_to_fit();
    turn_.reset();
    // The C library keeps freed memory, in a part for each thread.
    malloc_trim(0);
  }
  // libsystemd drops a message silently when its header fields make no sense.
  const bool dropped = !isHandshake && !dispatched_;
  if (!alive) return Progress::closed;
  return dropped ? refuse() : Progress::made;
}

/// Takes exactly one line from the socket, so that the first message stays there until the
/// handshake is complete.
WireConnection::Read WireConnection::readHandshakeLine() {
  char window[1024];
  const auto seen = recv(socket(), window, sizeof window, MSG_PEEK | MSG_DONTWAIT);
  if (seen < 0) return errno == EAGAIN || errno == EINTR ? Read::waits : Read::failed;
  const auto* end = static_cast<const char*>(memchr(window, '\n', static_cast<std::size_t>(seen)));
  const auto length =
      end ? static_cast<std::size_t>(end + 1 - window) : static_cast<std::size_t>(seen);
  handshakeBytes_ += length;
  if (length == 0 || handshakeBytes_ > maximumHandshakeBytes) return Read::failed;
  return receive(length, MSG_DONTWAIT);
}

WireConnection::Read WireConnection::readMessage(Patience patience) {
  if (received_.size() < MessageFrame::prefixLength) {
    const bool maySleep = patience == Patience::untilMessage && received_.empty();
    const auto read = receive(MessageFrame::prefixLength, maySleep ? 0 : MSG_DONTWAIT);
    if (read != Read::complete) return read;
    const auto frame =
        MessageFrame::parse(std::span(received_).first<MessageFrame::prefixLength>());
    if (!frame) return Read::refused;
    frame_ = *frame;
    if (inputLimit_ && frame_.length() > inputLimit_->bytesOfMessage) return Read::refused;
    if (inputLimit_ && inputLimit_->messages-- == 0) return Read::refused;
  }
  const bool isLarge = frame_.length() > LargeMessageQueue::largestWithout;
  if (isLarge && role_ == Role::server) return readLargeMessage();
  return receive(frame_.length(), MSG_DONTWAIT);
}

WireConnection::Read WireConnection::readLargeMessage() {
  if (!largeMessages_ || frame_.headerLength > LargeMessageQueue::largestWithout) {
    return Read::failed;
  }
  turn_ = std::make_unique<LargeMessageTurn>(largeMessages_->queue, largeMessages_->user,
                                             frame_.length());
  if (!waitForTurn()) return Read::failed;
  const auto deadline = Clock::now() + turn_->timeToRead();
  received_.reserve(frame_.length());
  for (;;) {
    const auto read = receive(frame_.length(), MSG_DONTWAIT);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (read != Read::waits) return read;
    pollfd waiting{socket(), POLLIN, 0};
    if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) == 0) return Read::failed;
  }
}

/// False when the peer left before it had sent everything.
bool WireConnection::waitForTurn() const {
  pollfd events[] = {{turn_->event(), POLLIN, 0}, {socket(), 0, 0}};
  while (events[0].fd >= 0) {
    if (poll(events, std::size(events), -1) < 0 && errno != EINTR) return false;
    if (events[0].revents != 0) return true;
    if (events[1].revents == 0) continue;
    int arrived = 0;
    if (ioctl(socket(), FIONREAD, &arrived) < 0) return false;
    if (received_.size() + static_cast<std::size_t>(arrived) < frame_.length()) return false;
    events[1].fd = -1;
  }
  return false;
}

/// Reads until `received_` holds `wanted` bytes. Memory grows with what arrives, not with what a
/// header announces.
WireConnection::Read WireConnection::receive(std::size_t wanted, int flags) {
  while (received_.size() < wanted) {
    const auto before = received_.size();
    const auto size = std::min(wanted - before, std::clamp(before, smallestRead, largestRead));
    received_.resize(before + size);
    iovec vector{received_.data() + before, received_.size() - before};
    alignas(cmsghdr) char control[CMSG_SPACE(maximumDescriptors * sizeof(int))];
    msghdr header{};
    header.msg_iov = &vector;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    const auto count = recvmsg(socket(), &header, MSG_CMSG_CLOEXEC | flags);
    received_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno == EAGAIN ? Read::waits : Read::failed;
    if (count == 0) return Read::failed;
    if (!collectDescriptors(header)) return Read::refused;
    flags |= MSG_DONTWAIT;  // Only the beginning of a message is waited for.
  }
  return Read::complete;
}

bool WireConnection::collectDescriptors(msghdr& header) {
  for (auto* part = CMSG_FIRSTHDR(&header); part; part = CMSG_NXTHDR(&header, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
    const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t i = 0; i < count; ++i) {
      int descriptor;
      std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
      descriptors_.emplace_back(descriptor);
    }
  }
  return (header.msg_flags & MSG_CTRUNC) == 0 && descriptors_.size() <= maximumDescriptors;
}

/// Whether as many descriptors arrived as the message announces. libsystemd never gets any, because
/// it keeps those of a message that it rejects; so the message that it gets announces 0.
bool WireConnection::hasAnnouncedDescriptors(bool isHandshake) {
  if (isHandshake) return descriptors_.empty();
  return frame_.takeDescriptorCount(received_) == descriptors_.size();
}

/// A pipe takes half the time of a socket pair. The handshake needs the pair: libsystemd agrees to
/// pass descriptors only if its input is a socket.
bool WireConnection::feedThroughPipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) < 0) return false;
  const FileDescriptor input(ends[0]);
  feed_.reset(ends[1]);
  return dup3(input.get(), input_, O_CLOEXEC) >= 0;
}

/// Passes `received_` on to libsystemd, which handles it. The body of a large message would be in
/// memory twice while a handler runs, so libsystemd gets the message without its body.
bool WireConnection::feed() {
  std::span<const std::uint8_t> message(received_);
  if (message.size() > LargeMessageQueue::largestWithout) {
    MessageFrame::clearBodyLength(received_);
    message = message.first(frame_.headerLength);
  }
  std::size_t fed = 0;
  while (fed < message.size()) {
    // libsystemd closes its end with the connection, and writing would then raise a signal.
    if (sd_bus_is_open(bus()) <= 0) return false;
    const auto count = write(feed_.get(), message.data() + fed, message.size() - fed);
    if (count < 0 && errno != EAGAIN && errno != EINTR) return false;
    if (count > 0) fed += static_cast<std::size_t>(count);
    if (!process()) return false;
  }
  return true;
}

/// Runs libsystemd until it has dispatched the message that it was fed or has nothing to do.
bool WireConnection::process() {
  int result;
  do {
    result = sd_bus_process(bus(), nullptr);
  } while (result > 0 && !dispatched_);
  return result >= 0;
}

}  // namespace qrt
