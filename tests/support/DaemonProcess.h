// A daemon of its own for a test or a measurement.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qrt::test {

/// Listens at a socket in a scratch folder and starts the daemon beside this program as soon as it
/// is made, the way an activator does. Stops it and removes the folder when it goes.
class DaemonProcess {
 public:
  struct Options {
    /// Peers outside have no process number for the daemon then.
    bool isInPidNamespaceOfItsOwn = false;
    /// The most descriptors it can raise its limit to; 0 leaves it as it is.
    unsigned descriptorLimit = 0;
    /// The name of a program of this build and what it is given.
    std::vector<std::string> command = {"com.vantor.system.privilegedhelper-vk2"};
    /// A program that the daemon finds in place of the system's tool for jobs; empty for none.
    std::string removalTool = {};
  };

  DaemonProcess() : DaemonProcess(Options()) {}
  explicit DaemonProcess(const Options& options);
  ~DaemonProcess();
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  const std::string& folder() const { return folder_; }
  std::string socketPath() const { return folder_ + "/socket"; }
  /// What the daemon has logged so far.
  std::string log() const;
  pid_t processID() const { return process_; }
  /// In KiB, without the libraries that come in when they are first used.
  long memory() const;

  /// Waits for the daemon to end by itself and returns its exit status; -1 after ten seconds or
  /// when a signal ended it.
  int waitForEnd();

 private:
  std::string folder_;
  pid_t process_ = -1;
};

/// The folder that this program lies in, which holds the other programs of the same build.
std::string folderOfPrograms();

}  // namespace qrt::test
