// The socket unit that starts the daemon.
#pragma once

#include "platform/JobControl.h"

namespace qrt {

class SystemdJobControl : public JobControl {
 public:
  std::string removalTool() const override { return "/bin/systemctl"; }
  /// The unit may be started without being enabled, and its file is gone by then: "disable --now"
  /// would fail before it stops anything.
  std::vector<std::vector<std::string>> removalRuns(
      const std::string& serviceIdentifier) const override {
    const auto unit = serviceIdentifier + ".socket";
    return {{"stop", unit}, {"disable", unit}};
  }
};

}  // namespace qrt
