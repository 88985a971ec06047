#include "platform/posix/NativeFacilities.h"

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
#include "platform/posix/PosixSelfProcess.h"

namespace qrt {

/// Most facilities are services of the system, which know no other root.
NativeFacilities makeNativeFacilities(const std::string& root) {
  NativeFacilities made;
  made.log = std::make_unique<MacosLog>();
  made.self = std::make_unique<PosixSelfProcess>();
  made.files = std::make_unique<MacosFileSystem>();
  made.extendedAttributes = std::make_unique<MacosExtendedAttributes>();
  made.accessControl = std::make_unique<MacosAccessControl>();
  made.processes = std::make_unique<MacosProcessTable>();
  made.users = std::make_unique<MacosUserDirectory>();
  made.kernelSettings = std::make_unique<MacosKernelSettings>();
  made.jobControl = std::make_unique<LaunchdJobControl>();
  made.preferences = std::make_unique<MacosPreferences>();
  made.systemConfiguration = std::make_unique<MacosSystemConfiguration>();
  made.authority = std::make_unique<MacosAuthority>();
  made.transport = std::make_unique<MacosTransport>();
  made.helperConnector = std::make_unique<MacosHelperConnector>();
  made.smc = std::make_unique<MacosSMCExchange>();
  made.nvram = std::make_unique<MacosNvram>();
  made.applications = std::make_unique<MacosApplicationRegistry>();
  made.codeSigning = std::make_unique<MacosCodeSigning>();
  made.volumes = std::make_unique<MacosVolumes>();
  return made;
}

}  // namespace qrt
