#include "platform/SystemFeatures.h"

#include "platform/DeclaredRights.h"
#include "platform/ServiceDiagnosis.h"
#include "protocol/Names.h"

namespace qrt {

std::vector<SystemFeature> systemFeatures() {
  return {
      {"immutable flags", true, false, "part of every system"},
      {"firmware variables", true, false, "part of every system"},
      {"management controller", true, false, "part of every system"},
      {"IPv6", true, false, "part of every system"},
      {"installer programs", true, false, "part of every system"},
      {"dialogs", true, false, "the system shows them by itself"},
  };
}

ServiceProblem diagnoseService(const std::string&) {
  return {"launchd cannot start the helper, or it ends at once",
          "sudo launchctl print system/" + std::string(helperServiceIdentifier)};
}

/// The helper keeps its own on this system nowhere but in the rights database.
std::optional<ServiceProblem> stateFolderProblem() { return std::nullopt; }

/// The system has no list of them.
std::optional<DeclaredRights> declaredRights() { return std::nullopt; }

AuthorityInUse authorityInUse() { return {"Authorization Services", true}; }

}  // namespace qrt
