#include "support/DaemonProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace qrt::test {
namespace {

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

int listenAt(const std::string& path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  std::strncpy(name.sun_path, path.c_str(), sizeof name.sun_path - 1);
  require(bind(socket, reinterpret_cast<sockaddr*>(&name), sizeof name) == 0, "bind");
  require(chmod(path.c_str(), 0666) == 0 && listen(socket, SOMAXCONN) == 0, "listen");
  return socket;
}

}  // namespace

std::string folderOfPrograms() {
  char path[4096];
  const auto length = readlink("/proc/self/exe", path, sizeof path);
  const std::string program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
  return program.substr(0, program.rfind('/'));
}

DaemonProcess::DaemonProcess(const Options& options) {
  // In memory: what is measured is the daemon, not a disk.
  char pattern[] = "/dev/shm/qrt-daemon-XXXXXX";
  require(mkdtemp(pattern) != nullptr, "mkdtemp");
  folder_ = pattern;
  require(chmod(pattern, 0755) == 0 && mkdir((folder_ + "/state").c_str(), 0700) == 0, "folder");
  const int listening = listenAt(socketPath());
  const std::string program = folderOfPrograms() + "/" + options.command.front();
  process_ = fork();
  require(process_ >= 0, "fork");
  if (process_ == 0) {
    const int log = open((folder_ + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    fcntl(listening, F_SETFD, 0);
    dup2(listening, 3);
    setenv("LISTEN_FDS", "1", 1);
    const pid_t own = options.isInPidNamespaceOfItsOwn ? 1 : getpid();
    setenv("LISTEN_PID", std::to_string(own).c_str(), 1);
    setenv("STATE_DIRECTORY", (folder_ + "/state").c_str(), 1);
    if (options.descriptorLimit > 0) {
      const rlimit limit{options.descriptorLimit, options.descriptorLimit};
      setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (options.isInPidNamespaceOfItsOwn) {
      execlp("unshare", "unshare", "--pid", "--fork", "--kill-child", program.c_str(),
             static_cast<char*>(nullptr));
    }
    if (!options.removalTool.empty()) {
      // In a mount namespace of its own, by the same process.
      const auto script = "mount --bind " + options.removalTool +
                          " /bin/systemctl && mount -t tmpfs none /usr/share/polkit-1 && exec " +
                          program;
      execlp("unshare", "unshare", "--mount", "sh", "-c", script.c_str(),
             static_cast<char*>(nullptr));
    }
    std::vector<char*> arguments;
    for (const auto& each : options.command) arguments.push_back(const_cast<char*>(each.c_str()));
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    _exit(127);
  }
  close(listening);
}

DaemonProcess::~DaemonProcess() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  const std::string remove = "rm -rf " + folder_;
  if (std::system(remove.c_str()) != 0) std::perror("rm");
}

std::string DaemonProcess::log() const {
  std::ifstream file(folder_ + "/log");
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

long DaemonProcess::memory() const {
  std::ifstream status("/proc/" + std::to_string(process_) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("RssAnon:")) return std::stol(line.substr(8));
  }
  return 0;
}

int DaemonProcess::waitForEnd() {
  using namespace std::chrono_literals;
  for (auto left = 10'000ms; left > 0ms; left -= 10ms) {
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) == process_) {
      process_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::this_thread::sleep_for(10ms);
  }
  return -1;
}

}  // namespace qrt::test
