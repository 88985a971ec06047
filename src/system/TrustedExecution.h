// Running a program of the system for a request.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"

namespace qrt {

class FeedbackConnection;
class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Runs a program and forwards what it writes to the request's own connection, which may be null.
/// A program that is not trusted is tested first. The child has exactly the safe search path as its
/// "PATH", or none. `operationSet` is told whose output is being forwarded.
///
/// Fails with code 2 for an unsafe program, which is not run, and with code 3 for a status other
/// than 0. Throws an `OperationException` when the program cannot be launched.
Outcome executeTrusted(const Platform& platform, QRTPrivilegedOperationSetVK2& operationSet,
                       bool trusted, const std::string& systemProgramAtPath,
                       const std::vector<std::string>& withArguments, bool safePathEnvironment,
                       FeedbackConnection* forwardingOutputToConnection);

}  // namespace qrt
