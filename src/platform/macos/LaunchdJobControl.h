// The launchd job that starts the daemon.
#pragma once

#include "platform/JobControl.h"

namespace qrt {

class LaunchdJobControl : public JobControl {
 public:
  std::string removalTool() const override { return "/bin/launchctl"; }
  std::vector<std::vector<std::string>> removalRuns(
      const std::string& serviceIdentifier) const override {
    return {{"remove", serviceIdentifier}};
  }
};

}  // namespace qrt
