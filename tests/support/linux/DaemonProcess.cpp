#include "support/DaemonProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <system_error>
#include <thread>

namespace qrt::test {
namespace {

#ifdef QRT_SANITIZED
constexpr bool isInstrumented = true;
#else
constexpr bool isInstrumented = false;
#endif

void require(bool condition) {
  if (!condition) throw std::system_error(errno, std::generic_category(), "the daemon's socket");
}

int listenAt(const std::string& path) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un name{AF_UNIX, {}};
  path.copy(name.sun_path, sizeof name.sun_path - 1);
  require(bind(socket, reinterpret_cast<sockaddr*>(&name), sizeof name) == 0);
  require(chmod(path.c_str(), 0666) == 0 && listen(socket, SOMAXCONN) == 0);
  return socket;
}

std::string folderOfPrograms() {
  char path[4096];
  const auto length = readlink("/proc/self/exe", path, sizeof path);
  const std::string program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
  return program.substr(0, program.rfind('/'));
}

}  // namespace

DaemonProcess::DaemonProcess(const std::string& launcher, const std::string& program) {
  require(mkdtemp(folder_.data()) != nullptr && chmod(folder_.c_str(), 0755) == 0);
  const auto state = folder_ + "/state";
  const auto script = "mkdir -m 0700 " + state + "; LISTEN_FDS=1 STATE_DIRECTORY=" + state +
                      " exec " + launcher + " sh -c 'LISTEN_PID=$$ exec " + folderOfPrograms() +
                      "/" + program + "' >/dev/null 2>&1";
  const int listening = listenAt(socketPath());
  process_ = fork();
  if (process_ == 0) {
    dup2(listening, 3);
    fcntl(3, F_SETFD, 0);
    execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  close(listening);
}

DaemonProcess::~DaemonProcess() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  if (std::system(("rm -rf " + folder_).c_str()) != 0) std::perror("rm");
}

long DaemonProcess::memory() const {
  std::ifstream status("/proc/" + std::to_string(process_) + "/status");
  for (std::string line; !isInstrumented && std::getline(status, line);) {
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
