// Who is at the other end of a socket.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/FileDescriptor.h"
#include "protocol/Caller.h"

namespace qrt {

/// One process. The system uses process numbers again, but never with the same start time.
struct PeerIdentity {
  std::uint32_t userID = 0;
  std::int32_t processID = 0;
  /// Clock ticks after the system's start.
  std::uint64_t startTime = 0;

  friend bool operator==(const PeerIdentity&, const PeerIdentity&) = default;
};

/// The process that connected `socket`. Empty when the process has ended or is in a namespace that
/// has no name here. Only for sockets that a listener accepted: of a socket pair the kernel names
/// the process that made it. `askForHandle` takes the kernel's own handle of the peer where it has
/// one (6.5 and later).
std::optional<PeerIdentity> identityOfPeer(int socket, bool askForHandle = true);
/// The same with the path of its program, as a caller of that user. The process is 0 when it cannot
/// be identified.
Caller callerAt(int socket, std::uint32_t user);
/// The user at the other end, which is known even where the process is not.
std::optional<std::uint32_t> userOfPeer(int socket);

/// The process that makes a call. Empty when the kernel could not name it.
std::optional<PeerIdentity> processOf(const Caller& caller);

/// Start time of a running process.
std::optional<std::uint64_t> startTimeOfProcess(std::int32_t processID);

/// A handle of the process, which becomes readable when it ends. Empty when the process has ended
/// already.
std::optional<FileDescriptor> openProcess(const PeerIdentity& identity);

bool isRunning(const FileDescriptor& process);

}  // namespace qrt
