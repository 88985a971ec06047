#include "platform/NativePlatform.h"

#include "platform/macos/LaunchdJobControl.h"
#include "platform/macos/MacosApplicationRegistry.h"
#include "platform/macos/MacosAuthority.h"
#include "platform/macos/MacosCodeSigning.h"
#include "platform/macos/MacosKernelSettings.h"
#include "platform/macos/MacosLog.h"
#include "platform/macos/MacosNvram.h"
#include "platform/macos/MacosPreferences.h"
#include "platform/macos/MacosProcessTable.h"
#include "platform/macos/MacosSMCExchange.h"
#include "platform/macos/MacosSystemConfiguration.h"
#include "platform/macos/MacosUserDirectory.h"
#include "platform/macos/files/MacosAccessControl.h"
#include "platform/macos/files/MacosExtendedAttributes.h"
#include "platform/macos/files/MacosFileSystem.h"
#include "platform/macos/files/MacosVolumes.h"
#include "platform/macos/xpc/MacosHelperConnector.h"
#include "platform/macos/xpc/MacosTransport.h"
#include "platform/posix/PosixBlockDevices.h"
#include "platform/posix/PosixSelfProcess.h"
#include "platform/posix/PosixSubprocess.h"
#include "platform/posix/PosixSystemVersionFile.h"
#include "platform/posix/propertylists/BoundedPropertyLists.h"

namespace qrt {

/// Most facilities are services of the system, which know no other root.
struct NativePlatform::Facilities {
  explicit Facilities(const std::string& root) : versionFile(root), blockDevices(root) {}

  MacosLog log;
  PosixSelfProcess self;
  MacosFileSystem files;
  MacosExtendedAttributes extendedAttributes;
  MacosAccessControl accessControl;
  BoundedPropertyLists propertyLists;
  PosixSystemVersionFile versionFile;
  MacosProcessTable processes;
  MacosUserDirectory users;
  MacosKernelSettings kernelSettings;
  PosixSubprocessFacility subprocesses;
  LaunchdJobControl jobControl;
  MacosPreferences preferences;
  MacosSystemConfiguration systemConfiguration;
  MacosAuthority authority;
  MacosTransport transport;
  MacosHelperConnector helperConnector;
  MacosSMCExchange smc;
  MacosNvram nvram;
  PosixBlockDevices blockDevices;
  MacosApplicationRegistry applications;
  MacosCodeSigning codeSigning;
  MacosVolumes volumes;

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
