#include "platform/posix/NativeFacilities.h"

#include <cstdlib>

#include "platform/NativeFileSystem.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/authority/LinuxAuthority.h"
#include "platform/linux/signing/LinuxCodeSigning.h"
#include "platform/linux/wire/ActivationSocket.h"
#include "platform/posix/PosixUserDirectory.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// A folder that systemd gives the service, or the same place without systemd.
std::string serviceFolder(const char* variable, const std::string& parent) {
  const char* given = std::getenv(variable);
  if (given && *given) return given;
  return parent + "/" + std::string(helperServiceIdentifier);
}

WithoutJournal withoutJournal() {
  return startedByActivator() ? WithoutJournal::standardError : WithoutJournal::nowhere;
}

}  // namespace

NativeFacilities makeNativeFacilities(const std::string& root) {
  NativeFacilities made;
  made.log = makeLog(root, withoutJournal());
  made.self = makeSelfProcess();
  made.files = makeNativeFileSystem();
  made.extendedAttributes = makeExtendedAttributes();
  made.accessControl = makeAccessControl();
  made.processes = makeProcessTable(root);
  made.users = std::make_unique<PosixUserDirectory>();
  made.kernelSettings = makeKernelSettings(root);
  made.jobControl = makeJobControl();
  made.preferences = makePreferences(root);
  made.systemConfiguration = makeSystemConfiguration(
      serviceFolder("CONFIGURATION_DIRECTORY", root + "etc"), root, *made.kernelSettings);
  auto authority =
      std::make_unique<LinuxAuthority>(root, serviceFolder("STATE_DIRECTORY", root + "var/lib"));
  made.transport = makeTransport(*authority);
  made.authority = std::move(authority);
  made.helperConnector = makeHelperConnector();
  made.smc = makeSMCExchange(root);
  made.nvram = makeNvram(root);
  made.applications = makeApplicationRegistry();
  made.codeSigning = std::make_unique<LinuxCodeSigning>();
  made.volumes = makeVolumes(root);
  return made;
}

}  // namespace qrt
