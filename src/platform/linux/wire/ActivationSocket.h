// The listening socket that the daemon is started with.
#pragma once

#include <optional>

#include "platform/FileDescriptor.h"

namespace qrt {

/// The stream socket that the activation protocol passes as its first descriptor. Empty when there
/// is no such socket. The variables that announce it are removed from the environment, so that no
/// child sees them.
std::optional<FileDescriptor> takeActivationSocket();

/// True when an activator started this process, whether or not the socket has been taken since.
bool startedByActivator();

}  // namespace qrt
