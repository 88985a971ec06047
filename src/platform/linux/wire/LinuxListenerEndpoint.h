// An invitation to another connection.
#pragma once

#include "platform/FileDescriptor.h"
#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

/// A connected socket for the peer that asked; the daemon serves the other end already.
struct LinuxListenerEndpoint : ListenerEndpoint {
  explicit LinuxListenerEndpoint(FileDescriptor connected) : socket(std::move(connected)) {}
  FileDescriptor socket;
};

}  // namespace qrt
