// Makes the facilities of this port. Each class is in the source file of its facility.
#pragma once

#include <memory>
#include <string>

namespace qrt {

class AccessControl;
class ApplicationRegistry;
class ExtendedAttributes;
class HelperConnector;
class JobControl;
class KernelSettings;
class LinuxAuthority;
class Log;
class Nvram;
class Preferences;
class ProcessTable;
class SMCExchange;
class SystemConfiguration;
class Transport;
class Volumes;

/// Where the log goes on a system without a journal.
enum class WithoutJournal { standardError, nowhere };

// The files of the system that a facility uses are below `root`: "/" in the programs, a folder of
// its own in a test. An argument that is a reference to a facility outlives the result.

std::unique_ptr<Log> makeLog(const std::string& root, WithoutJournal withoutJournal);
std::unique_ptr<ExtendedAttributes> makeExtendedAttributes();
std::unique_ptr<AccessControl> makeAccessControl();
std::unique_ptr<ProcessTable> makeProcessTable(const std::string& root);
std::unique_ptr<KernelSettings> makeKernelSettings(const std::string& root);
std::unique_ptr<JobControl> makeJobControl();
std::unique_ptr<Preferences> makePreferences(const std::string& root);
/// `folder` holds the configurations; it is made when it is needed.
std::unique_ptr<SystemConfiguration> makeSystemConfiguration(const std::string& folder,
                                                             const std::string& root,
                                                             KernelSettings& kernelSettings);
std::unique_ptr<Transport> makeTransport(LinuxAuthority& authority);
std::unique_ptr<HelperConnector> makeHelperConnector();
std::unique_ptr<SMCExchange> makeSMCExchange(const std::string& root);
std::unique_ptr<Nvram> makeNvram(const std::string& root);
std::unique_ptr<ApplicationRegistry> makeApplicationRegistry();
std::unique_ptr<Volumes> makeVolumes(const std::string& root);

}  // namespace qrt
