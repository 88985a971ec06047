#include "platform/SystemFeatures.h"

#include <SystemConfiguration/SystemConfiguration.h>

#include <algorithm>

#include "platform/DeclaredRights.h"
#include "platform/ServiceDiagnosis.h"
#include "platform/SystemNames.h"
#include "platform/macos/CFValue.h"
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

/// On this system the helper keeps its state in the rights database only.
std::optional<ServiceProblem> stateFolderProblem() { return std::nullopt; }

/// The system has no list of them.
std::optional<DeclaredRights> declaredRights() { return std::nullopt; }

AuthorityInUse authorityInUse() { return {"Authorization Services", true}; }

std::vector<std::string> blockDeviceNames() {
  auto names = namesInFolder("/dev");
  names.erase(std::remove_if(names.begin(), names.end(),
                             [](const std::string& name) { return !name.starts_with("disk"); }),
              names.end());
  return names;
}

std::vector<std::string> networkServiceNames() {
  const CFOwner<SCPreferencesRef> preferences(
      SCPreferencesCreate(nullptr, CFSTR("qrtctl"), nullptr));
  const CFOwner<CFArrayRef> services(preferences ? SCNetworkServiceCopyAll(preferences.get())
                                                 : nullptr);
  std::vector<std::string> names;
  for (CFIndex i = 0; services && i < CFArrayGetCount(services.get()); ++i) {
    const auto* const service =
        static_cast<SCNetworkServiceRef>(CFArrayGetValueAtIndex(services.get(), i));
    names.push_back(textFrom(SCNetworkServiceGetServiceID(service)));
  }
  return names;
}

}  // namespace qrt
