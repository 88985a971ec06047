// An invitation to another connection.
#pragma once

#include "platform/FileDescriptor.h"
#include "protocol/QRTPrivilegedHelperProtocol.h"

namespace qrt {

/// A connected socket whose other end is already being served, for the peer that asked.
struct LinuxListenerEndpoint : ListenerEndpoint {
  explicit LinuxListenerEndpoint(FileDescriptor connected) : socket(std::move(connected)) {}
  FileDescriptor socket;
};

}  // namespace qrt
