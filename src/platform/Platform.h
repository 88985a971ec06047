// Everything that the core asks of the system it runs on.
#pragma once

namespace qrt {

class AccessControl;
class ApplicationRegistry;
class Authority;
class BlockDevices;
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
class PropertyLists;
class SMCExchange;
class SelfProcess;
class SubprocessFacility;
class SystemConfiguration;
class SystemVersionFile;
class Transport;
class UserDirectory;
class Volumes;

/// References to the facilities of a platform. Made once by the composition root; tests put a
/// double in the place of one and keep the native rest. Every facility outlives its users.
struct Platform {
  Log& log;
  SelfProcess& self;
  FileSystem& files;
  ExtendedAttributes& extendedAttributes;
  AccessControl& accessControl;
  PropertyLists& propertyLists;
  SystemVersionFile& versionFile;
  ProcessTable& processes;
  UserDirectory& users;
  KernelSettings& kernelSettings;
  SubprocessFacility& subprocesses;
  JobControl& jobControl;
  Preferences& preferences;
  SystemConfiguration& systemConfiguration;
  Authority& authority;
  Transport& transport;
  HelperConnector& helperConnector;
  SMCExchange& smc;
  Nvram& nvram;
  BlockDevices& blockDevices;
  ApplicationRegistry& applications;
  CodeSigning& codeSigning;
  Volumes& volumes;

  /// The same facilities with another log.
  Platform withLog(Log& other) const {
    return {other,           self,
            files,           extendedAttributes,
            accessControl,   propertyLists,
            versionFile,     processes,
            users,           kernelSettings,
            subprocesses,    jobControl,
            preferences,     systemConfiguration,
            authority,       transport,
            helperConnector, smc,
            nvram,           blockDevices,
            applications,    codeSigning,
            volumes};
  }
};

}  // namespace qrt
