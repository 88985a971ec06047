// Everything that the core asks of the system it runs on.
#pragma once

#include <cstdint>
#include <string>

#include "platform/WorkerPool.h"
#include "protocol/StopRequest.h"

namespace qrt {

class AccessControl;
class ApplicationRegistry;
class Authority;
class CodeSigning;
class ExtendedAttributes;
class FileSystem;
class HelperConnector;
class JobControl;
class KernelSettings;
class Log;
class Nvram;
class Preferences;
class ProcessTable;
class SMCExchange;
class SelfProcess;
class SystemConfiguration;
class Transport;
class UserDirectory;
class Volumes;

/// The facilities that differ between the ports or that tests replace. Functions without state,
/// e.g. `readPropertyList`, are not members. Every facility outlives its users.
struct Platform {
  /// Fixed places of the system, e.g. "/dev", are below this folder: empty or "/" in the programs,
  /// a folder of its own in a test.
  std::string root;

  Log& log;
  SelfProcess& self;
  FileSystem& files;
  ExtendedAttributes& extendedAttributes;
  AccessControl& accessControl;
  ProcessTable& processes;
  UserDirectory& users;
  KernelSettings& kernelSettings;
  JobControl& jobControl;
  Preferences& preferences;
  SystemConfiguration& systemConfiguration;
  Authority& authority;
  Transport& transport;
  HelperConnector& helperConnector;
  SMCExchange& smc;
  Nvram& nvram;
  ApplicationRegistry& applications;
  CodeSigning& codeSigning;
  Volumes& volumes;
  /// Of the user whose request is performed.
  WorkerShare workers;
  /// Of the requestor of the operation that is performed.
  const StopRequest& stop;

  /// The same facilities for a request of a user.
  Platform forRequest(Log& itsLog, std::uint32_t user, const StopRequest& itsStop) const {
    return {root,
            itsLog,
            self,
            files,
            extendedAttributes,
            accessControl,
            processes,
            users,
            kernelSettings,
            jobControl,
            preferences,
            systemConfiguration,
            authority,
            transport,
            helperConnector,
            smc,
            nvram,
            applications,
            codeSigning,
            volumes,
            {workers.pool, user},
            itsStop};
  }
};

}  // namespace qrt
