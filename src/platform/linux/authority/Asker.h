// A process that waits for a decision about its right.
#pragma once

#include <poll.h>

#include "platform/FileDescriptor.h"
#include "platform/linux/authority/PeerIdentity.h"

namespace qrt {

/// Owns nothing.
struct Asker {
  const PeerIdentity& process;
  /// Of that very process.
  const FileDescriptor& processHandle;
  /// The connection that the request came over; -1 without one.
  int connection;
};

/// Waits for one of the events of `awaited`, at most `milliseconds` (-1: without a limit). False
/// when the asker is gone instead: its process has ended or has given up its connection.
bool waitForAsker(const Asker& asker, pollfd awaited, int milliseconds = -1);

}  // namespace qrt
