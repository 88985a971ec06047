// What starts the daemon on demand, and how it is told to stop doing so.
#pragma once

#include <string>
#include <vector>

namespace qrt {

/// Thread-safe.
class JobControl {
 public:
  virtual ~JobControl() = default;

  /// Absolute path of the system's own program that forgets a job.
  virtual std::string removalTool() const = 0;
  /// The arguments of each run of that program, in order; a run that fails does not end them.
  virtual std::vector<std::vector<std::string>> removalRuns(
      const std::string& serviceIdentifier) const = 0;
};

}  // namespace qrt
