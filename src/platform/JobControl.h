// How the job that starts the daemon on demand is removed from the system.
#pragma once

#include <string>
#include <vector>

namespace qrt {

/// Thread-safe.
class JobControl {
 public:
  virtual ~JobControl() = default;

  /// The absolute path of the system's program that removes a job.
  virtual std::string removalTool() const = 0;
  /// The arguments of each run of that program, in order. The next run follows also when one fails.
  virtual std::vector<std::vector<std::string>> removalRuns(
      const std::string& serviceIdentifier) const = 0;
};

}  // namespace qrt
