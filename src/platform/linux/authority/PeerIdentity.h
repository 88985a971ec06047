// Who is at the other end of a socket.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/FileDescriptor.h"
#include "protocol/Caller.h"

namespace qrt {

/// One process for as long as it lives: its number may be used again, number and start time not.
struct PeerIdentity {
  std::uint32_t userID = 0;
  std::int32_t processID = 0;
  /// Clock ticks after the system's start.
  std::uint64_t startTime = 0;

  friend bool operator==(const PeerIdentity&, const PeerIdentity&) = default;
};

/// The process that connected `socket`, or none when it cannot be told: it has ended, or it lives
/// in a namespace that this one cannot name. To be asked of sockets that a listener accepted; for a
/// socket pair the kernel names whoever made it.
/// `askForHandle` uses the kernel's own handle of the peer where it gives one (6.5 and later).
std::optional<PeerIdentity> identityOfPeer(int socket, bool askForHandle = true);
/// The same with the path of its program, as a caller of that user. Without a process when it
/// cannot be identified.
Caller callerAt(int socket, std::uint32_t user);
/// The user at the other end, known also where the process is not.
std::optional<std::uint32_t> userOfPeer(int socket);

/// The process that makes a call; nothing when the kernel could not name it.
std::optional<PeerIdentity> processOf(const Caller& caller);

/// Start time of a running process.
std::optional<std::uint64_t> startTimeOfProcess(std::int32_t processID);

/// A handle of the process, if it is still the one meant; it becomes readable when the process
/// ends.
std::optional<FileDescriptor> openProcess(const PeerIdentity& identity);

bool isRunning(const FileDescriptor& process);

}  // namespace qrt
