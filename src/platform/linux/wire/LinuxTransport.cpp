#include "platform/Transport.h"

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/authority/LinuxAuthority.h"
#include "platform/linux/authority/PeerIdentity.h"
#include "platform/linux/wire/ActivationSocket.h"
#include "platform/linux/wire/ConnectionQuota.h"
#include "platform/linux/wire/LargeMessageQueue.h"
#include "platform/linux/wire/LinuxListenerEndpoint.h"
#include "platform/linux/wire/ServedConnection.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

constexpr std::chrono::milliseconds pauseWithoutDescriptors{100};

/// Of peers that wait to be accepted. All users wait in one queue, so one user who fills a long
/// queue would delay the others. No user has places for more peers than this.
constexpr int longestQueue = ConnectionQuota::maximumOfOneUser;

/// Keeps the heap as small as what is in use. Left to itself, the library returns large blocks to
/// the system less and less often, and has eight parts for each processor, each of which keeps the
/// room of the most that its threads ever needed.
void boundHeap() {
  constexpr int bytesOfBlocksThatAreReturned = 1 << 20;
  mallopt(M_MMAP_THRESHOLD, bytesOfBlocksThatAreReturned);
  mallopt(M_ARENA_MAX, static_cast<int>(std::max(2U, std::thread::hardware_concurrency())));
  // AddressSanitizer has a heap of its own. The library's is then made ready at the first of these
  // calls, which two threads must not do at once.
  malloc_trim(0);
}

/// Whether the peer has left without sending anything. It gets no connection then.
bool hasLeft(const FileDescriptor& socket) {
  char byte;
  return recv(socket.get(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) == 0;
}

class LinuxIncomingConnection : public IncomingConnection {
 public:
  LinuxIncomingConnection(FileDescriptor socket, Peer peer, ConnectionQuota::Place place)
      : socket_(std::move(socket)), peer_(peer), place_(std::move(place)) {}

  void setExportedObject(QRTPrivilegedHelperProtocol& object) override { object_ = &object; }

  void resume() override {
    if (!object_) return;
    isServed_ = ServedConnection::serve(std::move(socket_), peer_, std::move(place_), *object_);
  }

  bool isServed() const { return isServed_; }

 private:
  FileDescriptor socket_;
  Peer peer_;
  ConnectionQuota::Place place_;
  QRTPrivilegedHelperProtocol* object_ = nullptr;
  bool isServed_ = false;
};

class LinuxListener : public Listener {
 public:
  LinuxListener(LinuxAuthority& authority, ConnectionQuota& quota, LargeMessageQueue& largeMessages)
      : authority_(authority), quota_(quota), largeMessages_(largeMessages) {}

  void setDelegate(ListenerDelegate& delegate) override { delegate_ = &delegate; }

  Outcome resume() override {
    auto socket = takeActivationSocket();
    if (!socket) {
      auto error = posixError(PosixCode::badDescriptor);
      error.userInfo.emplace(localizedDescriptionKey,
                             "This program is started by a socket activator, which passes the "
                             "listening socket down.");
      return error;
    }
    socket_ = std::move(*socket);
    listen(socket_.get(), longestQueue);
    reserve_.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
    return success;
  }

  void runLoop() override {
    while (!invalidated_) {
      FileDescriptor accepted(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (accepted) {
        welcome(std::move(accepted));
      } else if (!recoverFrom(errno)) {
        return;
      }
    }
  }

  void invalidate() override { invalidated_ = true; }

  std::unique_ptr<ListenerEndpoint> endpoint(const Caller& caller) override {
    auto place = quota_.enter(caller.userID);
    int pair[2];
    if (!place || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) < 0) return nullptr;
    FileDescriptor ours(pair[0]);
    FileDescriptor theirs(pair[1]);
    if (!offer(std::move(ours), caller, std::move(place))) return nullptr;
    return std::make_unique<LinuxListenerEndpoint>(std::move(theirs));
  }

 private:
  void welcome(FileDescriptor socket) {
    const auto user = userOfPeer(socket.get());
    if (!user) return;
    auto place = quota_.enter(*user);
    if (!place || hasLeft(socket)) return;
    const auto caller = callerAt(socket.get(), *user);
    offer(std::move(socket), caller, std::move(place));
  }

  bool offer(FileDescriptor socket, const Caller& caller, ConnectionQuota::Place place) {
    LinuxIncomingConnection connection(std::move(socket), {caller, &authority_, &largeMessages_},
                                       std::move(place));
    return delegate_ && delegate_->shouldAcceptNewConnection(*this, &connection) &&
           connection.isServed();
  }

  /// False when no further peer can ever be accepted.
  bool recoverFrom(int failure) {
    switch (failure) {
      case EMFILE:
      case ENFILE:
        // The peer still waits, so the next call would fail as well. The spare descriptor accepts
        // the peer, and its connection is closed at once.
        reserve_.reset();
        FileDescriptor(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        reserve_.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
        [[fallthrough]];
      case ENOMEM:
      case ENOBUFS:
        std::this_thread::sleep_for(pauseWithoutDescriptors);
        return true;
      case EBADF:
      case EINVAL:
      case ENOTSOCK:
        return false;
      case EAGAIN: {
        pollfd waiting{socket_.get(), POLLIN, 0};
        poll(&waiting, 1, -1);
        return true;
      }
      default:
        return true;
    }
  }

  LinuxAuthority& authority_;
  ConnectionQuota& quota_;
  LargeMessageQueue& largeMessages_;
  ListenerDelegate* delegate_ = nullptr;
  FileDescriptor socket_;
  FileDescriptor reserve_;
  std::atomic<bool> invalidated_{false};
};

/// Serves the listening socket that the activator passes down. Every accepted socket is a D-Bus
/// connection with a thread, and so a serial queue, of its own.
class LinuxTransport : public Transport {
 public:
  explicit LinuxTransport(LinuxAuthority& authority) : authority_(authority) {}

  std::unique_ptr<Listener> makeListener(const std::string& serviceIdentifier) override;
  void turnAway() override;

 private:
  LinuxAuthority& authority_;
  // They outlive all connections, whose threads end with the process.
  ConnectionQuota quota_;
  LargeMessageQueue largeMessages_;
};

std::unique_ptr<Listener> LinuxTransport::makeListener(const std::string&) {
  boundHeap();
  return std::make_unique<LinuxListener>(authority_, quota_, largeMessages_);
}

void LinuxTransport::turnAway() {
  const auto socket = takeActivationSocket();
  if (!socket) return;
  for (;;) {
    pollfd waiting{socket->get(), POLLIN, 0};
    if (poll(&waiting, 1, 0) <= 0) return;
    FileDescriptor(accept4(socket->get(), nullptr, nullptr, SOCK_CLOEXEC));
  }
}

}  // namespace

std::unique_ptr<Transport> makeTransport(LinuxAuthority& authority) {
  return std::make_unique<LinuxTransport>(authority);
}

}  // namespace qrt
