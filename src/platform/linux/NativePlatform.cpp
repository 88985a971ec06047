#include "platform/NativePlatform.h"

#include <cstdlib>

#include "platform/linux/ActivationSocket.h"
#include "platform/linux/LinuxApplicationRegistry.h"
#include "platform/linux/LinuxAuthority.h"
#include "platform/linux/LinuxFileSystem.h"
#include "platform/linux/LinuxHelperConnection.h"
#include "platform/linux/LinuxKernelSettings.h"
#include "platform/linux/LinuxLog.h"
#include "platform/linux/LinuxNvram.h"
#include "platform/linux/LinuxProcessTable.h"
#include "platform/linux/LinuxPropertyLists.h"
#include "platform/linux/LinuxSMCExchange.h"
#include "platform/linux/LinuxSelfProcess.h"
#include "platform/linux/LinuxSystemVersionFile.h"
#include "platform/linux/LinuxTransport.h"
#include "platform/posix/PosixBlockDevices.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// Where systemd lets the service keep its state, or the same place without systemd.
std::string stateFolder(const std::string& root) {
  const char* given = std::getenv("STATE_DIRECTORY");
  if (given && *given) return given;
  return root + "var/lib/" + std::string(helperServiceIdentifier);
}

}  // namespace

struct NativePlatform::Facilities {
  explicit Facilities(const std::string& root)
      : log(root,
            startedByActivator() ? LinuxLog::StandardError::use : LinuxLog::StandardError::avoid),
        versionFile(root),
        processes(root),
        kernelSettings(root),
        authority(stateFolder(root), propertyLists),
        transport(authority),
        smc(root),
        nvram(root),
        blockDevices(root) {}

  LinuxLog log;
  LinuxSelfProcess self;
  LinuxFileSystem files;
  LinuxPropertyLists propertyLists;
  LinuxSystemVersionFile versionFile;
  LinuxProcessTable processes;
  LinuxKernelSettings kernelSettings;
  LinuxAuthority authority;
  LinuxTransport transport;
  LinuxHelperConnector helperConnector;
  LinuxSMCExchange smc;
  LinuxNvram nvram;
  PosixBlockDevices blockDevices;
  LinuxApplicationRegistry applications;

  Platform references{log,       self,           files,        propertyLists, versionFile,
                      processes, kernelSettings, authority,    transport,     helperConnector,
                      smc,       nvram,          blockDevices, applications};
};

NativePlatform::NativePlatform(const std::string& root)
    : owned_(std::make_unique<Facilities>(root)) {}

NativePlatform::~NativePlatform() = default;

const Platform& NativePlatform::facilities() const { return owned_->references; }

}  // namespace qrt
