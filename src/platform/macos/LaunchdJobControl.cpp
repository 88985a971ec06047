#include "platform/JobControl.h"

#include "platform/macos/MacosFacilities.h"

namespace qrt {
namespace {

/// The launchd job that starts the daemon.
class LaunchdJobControl : public JobControl {
 public:
  std::string removalTool() const override { return "/bin/launchctl"; }
  std::vector<std::vector<std::string>> removalRuns(
      const std::string& serviceIdentifier) const override {
    return {{"remove", serviceIdentifier}};
  }
};

}  // namespace

std::unique_ptr<JobControl> makeJobControl() { return std::make_unique<LaunchdJobControl>(); }

}  // namespace qrt
