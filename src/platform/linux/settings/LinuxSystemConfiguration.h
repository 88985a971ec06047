// The system's configuration in files of this service.
#pragma once

#include "platform/SystemConfiguration.h"
#include "platform/linux/files/StateFolder.h"
#include "platform/linux/settings/SysctlFile.h"

namespace qrt {

class KernelSettings;
class PropertyLists;

/// A configuration is a property list in one folder, "preferences.plist" by default, else the file
/// that the identifier names: one component that does not begin with a dot. One lock holds for all.
///
/// The network services are the interfaces, by their names. Their IPv6 protocol follows in the
/// running kernel when changes are applied, and is written down for the next start when they are
/// committed. Values have nothing to be applied to.
class LinuxSystemConfiguration : public SystemConfiguration {
 public:
  /// `folder` holds the configurations; it is made when it is needed.
  LinuxSystemConfiguration(const std::string& folder, const std::string& root,
                           PropertyLists& propertyLists, KernelSettings& kernelSettings);

  std::unique_ptr<SystemConfigurationPreferences> open(const std::string& clientName,
                                                       const std::string& identifier) override;

 private:
  class Session;
  class Interface;

  StateFolder files_;
  SysctlFile settingsAtStart_;
  const std::string interfacesFolder_;
  PropertyLists& propertyLists_;
  KernelSettings& kernelSettings_;
};

}  // namespace qrt
