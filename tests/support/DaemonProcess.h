// A daemon of its own for a test or a measurement.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>

namespace qrt::test {

/// A launcher for programs that may be killed, whose daemons would stay.
inline constexpr const char* endsWithItsParent = "setpriv --pdeathsig KILL";

/// Listens at a socket in a scratch folder and starts the daemon beside this program as soon as it
/// is made, as an activator does. The destructor stops it and removes the folder.
class DaemonProcess {
 public:
  /// `launcher` is a command that runs another: "prlimit --nofile=48". `program` is one of this
  /// build, and the words that it gets.
  explicit DaemonProcess(const std::string& launcher = "",
                         const std::string& program = "com.vantor.system.privilegedhelper-vk2")
      : DaemonProcess(onDemand, launcher, program) {
    start();
    close(std::exchange(listening_, -1));
  }

  /// Starts no daemon: that is for `startForClient`.
  struct OnDemand {};
  static constexpr OnDemand onDemand{};
  explicit DaemonProcess(OnDemand, const std::string& launcher = "",
                         const std::string& program = "com.vantor.system.privilegedhelper-vk2")
      : command_("mkdir -pm 0700 $0; LISTEN_FDS=1 STATE_DIRECTORY=$0 exec " + launcher +
                 " sh -c 'LISTEN_PID=$$ exec " + folderOfPrograms() + program +
                 "' >/dev/null 2>&1") {
    const bool hasFolder = mkdtemp(folder_.data()) != nullptr && chmod(folder_.c_str(), 0755) == 0;
    listening_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un name{AF_UNIX, {}};
    socketPath().copy(name.sun_path, sizeof name.sun_path - 1);
    if (!hasFolder || bind(listening_, reinterpret_cast<sockaddr*>(&name), sizeof name) != 0 ||
        chmod(name.sun_path, 0666) != 0 || listen(listening_, SOMAXCONN) != 0) {
      std::perror("the daemon's socket");
    }
  }
  ~DaemonProcess() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
    if (listening_ >= 0) close(listening_);
    if (std::system(("rm -rf " + folder_).c_str()) != 0) std::perror("rm");
  }
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  const std::string& folder() const { return folder_; }
  std::string socketPath() const { return folder_ + "/socket"; }
  pid_t processID() const { return process_; }

  /// In KiB, without libraries that are loaded at their first use. 0 in a build with sanitizers,
  /// which need memory themselves.
  long memory() const {
#ifndef QRT_SANITIZED
    std::ifstream status("/proc/" + std::to_string(process_) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("RssAnon:")) return std::stol(line.substr(8));
    }
#endif
    return 0;
  }

  /// How many descriptors ("fd") or threads ("task") it has, without the handles of other
  /// processes: it keeps some, for the next requests of the same ones.
  int entries(const std::string& folder) const {
    FILE* const pipe = popen(("find /proc/" + std::to_string(process_) + "/" + folder +
                              " -mindepth 1 -maxdepth 1 ! -lname '*pidfd*' 2>/dev/null")
                                 .c_str(),
                             "r");
    int count = 0;
    for (int c; (c = fgetc(pipe)) != EOF;) count += c == '\n';
    pclose(pipe);
    return count;
  }

  /// Starts the daemon when a client connects. False when no client does within a moment.
  bool startForClient() {
    pollfd waiting{listening_, POLLIN, 0};
    const bool isWanted = poll(&waiting, 1, 50) == 1;
    if (isWanted) start();
    return isWanted;
  }

  /// Waits for the daemon to end by itself and returns its exit status; -1 after that time or
  /// when a signal ended it.
  int waitForEnd(int milliseconds = 10'000) {
    for (int tries = 0; tries < milliseconds; ++tries) {
      int status = 0;
      if (waitpid(process_, &status, WNOHANG) == process_) {
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      usleep(1'000);
    }
    return -1;
  }

 private:
  void start() {
    const auto state = folder_ + "/state";
    process_ = fork();
    if (process_ == 0) {
      dup2(listening_, 3);
      fcntl(3, F_SETFD, 0);
      execl("/bin/sh", "sh", "-c", command_.c_str(), state.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
  }

  /// With a slash at its end.
  static std::string folderOfPrograms() {
    char path[4096];
    const auto length = readlink("/proc/self/exe", path, sizeof path);
    const std::string program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    return program.substr(0, program.rfind('/') + 1);
  }

  // In memory: what is measured is the daemon, not a disk.
  std::string folder_ = "/dev/shm/qrt-daemon-XXXXXX";
  const std::string command_;
  int listening_ = -1;
  pid_t process_ = -1;
};

}  // namespace qrt::test
