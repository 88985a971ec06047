// The errors of requests, as a program reads them.
#pragma once

#include <string>

#include "base/Error.h"

namespace qrt {

/// The error in words: its own description, or the system's text for a POSIX code.
std::string messageOf(const Error& error);

/// Whether the connection itself failed: the daemon was not reached, or it ended the connection.
bool isConnectionFailure(const Error& error);
/// The second of the two.
bool isBrokenConnection(const Error& error);

}  // namespace qrt
