#include "platform/NativePlatform.h"

#include <cstdlib>

#include "platform/linux/LinuxApplicationRegistry.h"
#include "platform/linux/LinuxLog.h"
#include "platform/linux/LinuxProcessTable.h"
#include "platform/linux/LinuxSMCExchange.h"
#include "platform/linux/SystemdJobControl.h"
#include "platform/linux/authority/LinuxAuthority.h"
#include "platform/linux/files/LinuxAccessControl.h"
#include "platform/linux/files/LinuxExtendedAttributes.h"
#include "platform/linux/files/LinuxFileSystem.h"
#include "platform/linux/files/LinuxVolumes.h"
#include "platform/linux/settings/LinuxKernelSettings.h"
#include "platform/linux/settings/LinuxNvram.h"
#include "platform/linux/settings/LinuxPreferences.h"
#include "platform/linux/settings/LinuxSystemConfiguration.h"
#include "platform/linux/signing/LinuxCodeSigning.h"
#include "platform/linux/wire/ActivationSocket.h"
#include "platform/linux/wire/LinuxHelperConnection.h"
#include "platform/linux/wire/LinuxTransport.h"
#include "platform/posix/PosixBlockDevices.h"
#include "platform/posix/PosixSelfProcess.h"
#include "platform/posix/PosixSubprocess.h"
#include "platform/posix/PosixSystemVersionFile.h"
#include "platform/posix/PosixUserDirectory.h"
#include "platform/posix/propertylists/BoundedPropertyLists.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// A folder that systemd gives the service, or the same place without systemd.
std::string serviceFolder(const char* variable, const std::string& parent) {
  const char* given = std::getenv(variable);
  if (given && *given) return given;
  return parent + "/" + std::string(helperServiceIdentifier);
}

}  // namespace

struct NativePlatform::Facilities {
  explicit Facilities(const std::string& root)
      : log(root,
            startedByActivator() ? LinuxLog::StandardError::use : LinuxLog::StandardError::avoid),
        versionFile(root),
        processes(root),
        kernelSettings(root),
        preferences(root, propertyLists),
        systemConfiguration(serviceFolder("CONFIGURATION_DIRECTORY", root + "etc"), root,
                            propertyLists, kernelSettings),
        authority(root, serviceFolder("STATE_DIRECTORY", root + "var/lib"), propertyLists),
        transport(authority),
        smc(root),
        nvram(root),
        blockDevices(root),
        volumes(root) {}

  LinuxLog log;
  PosixSelfProcess self;
  LinuxFileSystem files;
  LinuxExtendedAttributes extendedAttributes;
  LinuxAccessControl accessControl;
  BoundedPropertyLists propertyLists;
  PosixSystemVersionFile versionFile;
  LinuxProcessTable processes;
  PosixUserDirectory users;
  LinuxKernelSettings kernelSettings;
  PosixSubprocessFacility subprocesses;
  SystemdJobControl jobControl;
  LinuxPreferences preferences;
  LinuxSystemConfiguration systemConfiguration;
  LinuxAuthority authority;
  LinuxTransport transport;
  LinuxHelperConnector helperConnector;
  LinuxSMCExchange smc;
  LinuxNvram nvram;
  PosixBlockDevices blockDevices;
  LinuxApplicationRegistry applications;
  LinuxCodeSigning codeSigning;
  LinuxVolumes volumes;

  Platform references{log,
                      self,
                      files,
                      extendedAttributes,
                      accessControl,
                      propertyLists,
                      versionFile,
                      processes,
                      users,
                      kernelSettings,
                      subprocesses,
                      jobControl,
                      preferences,
                      systemConfiguration,
                      authority,
                      transport,
                      helperConnector,
                      smc,
                      nvram,
                      blockDevices,
                      applications,
                      codeSigning,
                      volumes};
};

NativePlatform::NativePlatform(const std::string& root)
    : owned_(std::make_unique<Facilities>(root)) {}

NativePlatform::~NativePlatform() = default;

const Platform& NativePlatform::facilities() const { return owned_->references; }

}  // namespace qrt
