// The requests of a command that takes a list of paths.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/PropertyValue.h"
#include "client/cli/commandline/OperationDescription.h"
#include "platform/HelperConnection.h"

namespace qrt {

/// The values of one request without its paths, and all paths of the command.
struct PathCommand {
  /// With the order to stop at the first failure: then the last fraction says which path failed.
  Array options;
  Array paths;
  /// Whether the paths after a failure remain as they are.
  bool stopsOnFirstError = false;
  /// Whether the operation sends progress. If not, each request has one path.
  bool sendsProgress = true;
};

/// From the values of an operation whose last argument is a list of paths.
PathCommand pathCommandFor(const OperationDescription& operation, Array values);

/// A path that the operation failed for.
struct PathFailure {
  /// Its place in the command.
  std::size_t index;
  Error error;
};

struct PathsResult {
  std::size_t total = 0;
  std::size_t done = 0;
  std::vector<PathFailure> failures;
  /// Why the paths after the last failure were not tried: not authorized, stopped, no connection.
  Outcome ending;
};

/// Sends a request and returns its outcome.
using SendRequest = std::function<Outcome(const Array& arguments, const FeedbackHandler& handler)>;

/// Sends the paths in their order, in as few requests as messages can hold, and continues after a
/// path that fails. A path is sent again only if its request was refused. `handler` receives the
/// progress of the whole command.
PathsResult performForPaths(const PathCommand& command, const SendRequest& send,
                            const FeedbackHandler& handler);

}  // namespace qrt
