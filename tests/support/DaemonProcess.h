// A daemon of its own for a test or a measurement.
#pragma once

#include <sys/types.h>

#include <string>

namespace qrt::test {

/// Listens at a socket in a scratch folder and starts the daemon beside this program as soon as it
/// is made, as an activator does. The destructor stops it and removes the folder.
class DaemonProcess {
 public:
  /// `launcher` is a command that runs another: "prlimit --nofile=48". `program` is one of this
  /// build, and the words that it gets.
  explicit DaemonProcess(const std::string& launcher = "",
                         const std::string& program = "com.vantor.system.privilegedhelper-vk2");
  ~DaemonProcess();
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  const std::string& folder() const { return folder_; }
  std::string socketPath() const { return folder_ + "/socket"; }
  pid_t processID() const { return process_; }
  /// In KiB, without libraries that are loaded at their first use. 0 in a build with sanitizers,
  /// which need memory themselves.
  long memory() const;

  /// Waits for the daemon to end by itself and returns its exit status; -1 after ten seconds or
  /// when a signal ended it.
  int waitForEnd();

 private:
  // In memory: what is measured is the daemon, not a disk.
  std::string folder_ = "/dev/shm/qrt-daemon-XXXXXX";
  pid_t process_ = -1;
};

}  // namespace qrt::test
