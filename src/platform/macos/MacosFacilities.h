// Makes the facilities of this port. Each class is in the source file of its facility.
#pragma once

#include <memory>

namespace qrt {

class AccessControl;
class ApplicationRegistry;
class Authority;
class CodeSigning;
class ExtendedAttributes;
class HelperConnector;
class JobControl;
class KernelSettings;
class Log;
class Nvram;
class Preferences;
class ProcessTable;
class SMCExchange;
class SystemConfiguration;
class Transport;
class UserDirectory;
class Volumes;

std::unique_ptr<AccessControl> makeAccessControl();
std::unique_ptr<ApplicationRegistry> makeApplicationRegistry();
std::unique_ptr<Authority> makeAuthority();
std::unique_ptr<CodeSigning> makeCodeSigning();
std::unique_ptr<ExtendedAttributes> makeExtendedAttributes();
std::unique_ptr<HelperConnector> makeHelperConnector();
std::unique_ptr<JobControl> makeJobControl();
std::unique_ptr<KernelSettings> makeKernelSettings();
std::unique_ptr<Log> makeLog();
std::unique_ptr<Nvram> makeNvram();
std::unique_ptr<Preferences> makePreferences();
std::unique_ptr<ProcessTable> makeProcessTable();
std::unique_ptr<SMCExchange> makeSMCExchange();
std::unique_ptr<SystemConfiguration> makeSystemConfiguration();
std::unique_ptr<Transport> makeTransport();
std::unique_ptr<UserDirectory> makeUserDirectory();
std::unique_ptr<Volumes> makeVolumes();

}  // namespace qrt
