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
  virtual std::vector<std::string> removalArguments(const std::string& serviceIdentifier) const = 0;
};

}  // namespace qrt
