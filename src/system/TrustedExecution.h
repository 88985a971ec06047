// Running a system program for a request.
#pragma once

#include <string>
#include <vector>

#include "base/Error.h"

namespace qrt {

class FeedbackConnection;
class QRTPrivilegedOperationSetVK2;
struct Platform;

/// Runs a program and forwards its output to the request's own connection, which may be null.
/// Checks first whether a program is safe that is not trusted. The child's "PATH" is the safe
/// search path or missing. `operationSet` keeps the connection of the last run.
///
/// Returns code 2 for an unsafe program, which is not run, `canceled` for one that was stopped, and
/// code 3 for a status other than 0.
/// Throws an `OperationException` if the program cannot be launched.
Outcome executeTrusted(const Platform& platform, QRTPrivilegedOperationSetVK2& operationSet,
                       bool trusted, const std::string& systemProgramAtPath,
                       const std::vector<std::string>& withArguments, bool safePathEnvironment,
                       FeedbackConnection* forwardingOutputToConnection);

}  // namespace qrt
