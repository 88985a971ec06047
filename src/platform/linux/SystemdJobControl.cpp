#include "platform/JobControl.h"
#include "platform/linux/LinuxFacilities.h"

namespace qrt {
namespace {

/// Removes the socket unit that starts the daemon.
class SystemdJobControl final : public JobControl {
 public:
  std::string removalTool() const override { return "/bin/systemctl"; }
  /// A unit can be started without being enabled, and its file is gone by then: "disable --now"
  /// would fail before it stops anything.
  std::vector<std::vector<std::string>> removalRuns(
      const std::string& serviceIdentifier) const override {
    const auto unit = serviceIdentifier + ".socket";
    return {{"stop", unit}, {"disable", unit}};
  }
};

}  // namespace

std::unique_ptr<JobControl> makeJobControl() { return std::make_unique<SystemdJobControl>(); }

}  // namespace qrt
