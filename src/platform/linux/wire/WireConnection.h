// One D-Bus connection over a socket, without a bus.
#pragma once

#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "platform/FileDescriptor.h"
#include "platform/linux/SdBus.h"
#include "platform/linux/wire/EncodedArguments.h"
#include "platform/linux/wire/LargeMessageQueue.h"
#include "platform/linux/wire/MessageFrame.h"
#include "platform/linux/wire/WireReader.h"

namespace qrt {

/// Between the socket and libsystemd. It reads the bytes, cuts them into messages, measures those,
/// and passes them to libsystemd one at a time through a pipe; libsystemd writes to the socket
/// itself. So a peer cannot make the process hold more than the limits allow, handlers can read the
/// marshalled arguments, and no message that follows the handshake is overlooked.
///
/// Belongs to one thread. Handlers run inside `step()`, which waits for the turn of a large message
/// and reads it within its time.
class WireConnection {
 public:
  enum class Role { server, client };
  enum class Progress {
    made,    ///< Call again.
    waits,   ///< Nothing to do before the socket is ready for `pollEvents()`.
    closed,  ///< The peer left or sent what is no D-Bus message.
  };
  /// What a peer may send that is expected to send hardly anything.
  struct InputLimit {
    std::size_t messages;
    std::size_t bytesOfMessage;
  };
  /// Whether a step may sleep until the next message begins to arrive.
  enum class Patience { noWait, untilMessage };
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds handshakeLimit{5};

  /// `socket` must be a connected stream socket.
  static PosixResult<std::unique_ptr<WireConnection>> make(FileDescriptor socket, Role role);

  /// From here on messages over `LargeMessageQueue::largestWithout` are read when `user` has its
  /// turn. Before, they end a connection of the server's side; a client has asked for what it gets.
  void takeLargeMessages(LargeMessageQueue& queue, std::uint32_t user);

  /// From here on a message over the limit, one with descriptors, and bytes that are no message end
  /// the reading from the peer, and not the connection. Messages are read also while output waits.
  void limitInput(InputLimit limit) { inputLimit_ = limit; }

  /// Shakes hands within the limit. False: the peer did not.
  bool handshake(std::chrono::milliseconds limit = handshakeLimit);

  /// Steps until `isDone`. False when the deadline passes or the connection closes before that.
  bool stepUntil(const std::function<bool()>& isDone, Clock::time_point deadline);

  /// Writes what waits, then reads and dispatches at most one message, or one line of the
  /// handshake. Output for a peer that has left is dropped, so that its last messages can be read.
  Progress step(Patience patience = Patience::noWait);

  /// Whether the peer reads no more replies. What it sent before it left can still be read.
  bool hasPeerLeft() const;

  int socket() const { return socket_.get(); }
  short pollEvents() const;
  bool hasQueuedOutput() const;
  /// Whether the handshake is complete.
  bool isReady() const;

  /// For messages, replies and objects. Only this class processes its input.
  sd_bus* bus() const { return bus_.get(); }

  /// Adds an object whose methods the peer may call. The texts and the table outlive the
  /// connection.
  void addObject(const char* path, const char* interface, const sd_bus_vtable* methods,
                 void* context);

  /// The arguments of the message that is being dispatched. Handlers read them here: of a large
  /// message libsystemd has the header only.
  WireReader arguments() const;
  /// The descriptors that came with it; a handler may take them.
  std::vector<FileDescriptor>& descriptors() { return descriptors_; }
  /// For a handler that takes long: the message with what it counts against. The descriptors that
  /// were not taken are closed. No reader may be left.
  ReceivedMessage takeMessage();

  /// To be called by callbacks for replies, which libsystemd delivers past its filters.
  void noteDispatched() { dispatched_ = true; }

  /// Whether the peer has called Hello, as the client of a bus does. Every server answers it.
  bool wasGreeted() const { return wasGreeted_; }
  /// For the method that answers.
  void noteGreeting() { wasGreeted_ = true; }

 private:
  explicit WireConnection(Role role) : role_(role) {}

  PosixCode start(FileDescriptor socket);
  int prepareBus(int input, int output);

  struct LargeMessages {
    LargeMessageQueue& queue;
    std::uint32_t user;
  };

  enum class Read { complete, waits, failed, refused };
  void dropOutput();
  Progress refuse();
  Progress readAndDispatch(Patience patience);
  Read readMessage(Patience patience);
  Read readLargeMessage();
  bool waitForTurn() const;
  Read readHandshakeLine();
  Read receive(std::size_t wanted, int flags);
  bool collectDescriptors(msghdr& header);
  bool hasAnnouncedDescriptors(bool isHandshake);
  bool feedThroughPipe();
  bool feed();
  bool process();

  FileDescriptor socket_;
  FileDescriptor feed_;
  /// The descriptor that libsystemd, its owner, reads from: the other end of `feed_`.
  int input_ = -1;
  /// The descriptor that libsystemd, its owner, writes to: a duplicate of the socket.
  int output_ = -1;
  Bus bus_;
  const Role role_;

  std::vector<std::uint8_t> received_;
  MessageFrame frame_;
  std::vector<FileDescriptor> descriptors_;
  std::optional<LargeMessages> largeMessages_;
  std::unique_ptr<LargeMessageTurn> turn_;
  std::size_t handshakeBytes_ = 0;
  /// What the peer may still send.
  std::optional<InputLimit> inputLimit_;
  bool isReading_ = true;
  bool dispatched_ = false;
  bool wasGreeted_ = false;
};

}  // namespace qrt
