// The socket unit that starts the daemon.
#pragma once

#include "platform/JobControl.h"

namespace qrt {

class SystemdJobControl : public JobControl {
 public:
  std::string removalTool() const override { return "/bin/systemctl"; }
  std::vector<std::string> removalArguments(const std::string& serviceIdentifier) const override {
    return {"disable", "--now", serviceIdentifier + ".socket"};
  }
};

}  // namespace qrt
