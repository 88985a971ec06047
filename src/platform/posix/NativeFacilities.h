// The facilities of the port and their owners.
#pragma once

#include <memory>
#include <string>

#include "platform/AccessControl.h"
#include "platform/ApplicationRegistry.h"
#include "platform/Authority.h"
#include "platform/CodeSigning.h"
#include "platform/ExtendedAttributes.h"
#include "platform/FileSystem.h"
#include "platform/HelperConnection.h"
#include "platform/JobControl.h"
#include "platform/KernelSettings.h"
#include "platform/Log.h"
#include "platform/Nvram.h"
#include "platform/Preferences.h"
#include "platform/ProcessTable.h"
#include "platform/SMCExchange.h"
#include "platform/SelfProcess.h"
#include "platform/SystemConfiguration.h"
#include "platform/Transport.h"
#include "platform/UserDirectory.h"
#include "platform/Volumes.h"

namespace qrt {

/// None is null.
struct NativeFacilities {
  std::unique_ptr<Log> log;
  std::unique_ptr<SelfProcess> self;
  std::unique_ptr<FileSystem> files;
  std::unique_ptr<ExtendedAttributes> extendedAttributes;
  std::unique_ptr<AccessControl> accessControl;
  std::unique_ptr<ProcessTable> processes;
  std::unique_ptr<UserDirectory> users;
  std::unique_ptr<KernelSettings> kernelSettings;
  std::unique_ptr<JobControl> jobControl;
  std::unique_ptr<Preferences> preferences;
  std::unique_ptr<SystemConfiguration> systemConfiguration;
  std::unique_ptr<Authority> authority;
  std::unique_ptr<Transport> transport;
  std::unique_ptr<HelperConnector> helperConnector;
  std::unique_ptr<SMCExchange> smc;
  std::unique_ptr<Nvram> nvram;
  std::unique_ptr<ApplicationRegistry> applications;
  std::unique_ptr<CodeSigning> codeSigning;
  std::unique_ptr<Volumes> volumes;
};

/// Each port has its own. `root` is that of `NativePlatform`.
NativeFacilities makeNativeFacilities(const std::string& root);

std::unique_ptr<SelfProcess> makeSelfProcess();

}  // namespace qrt
