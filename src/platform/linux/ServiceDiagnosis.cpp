#include "platform/ServiceDiagnosis.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "base/ShellWord.h"
#include "platform/FileDescriptor.h"
#include "platform/linux/SdBus.h"
#include "protocol/Names.h"

namespace qrt {
namespace {

/// As systemd reports a program that could not be executed.
constexpr int programCannotBeRun = 203;

std::string unit(const char* kind) { return std::string(helperServiceIdentifier) + kind; }

/// Whether systemd starts the daemon for this address.
bool isStartedBySystemd(const std::string& address) {
  return address == defaultSocketPath && ::access("/run/systemd/system", F_OK) == 0;
}

std::string startCommand(const std::string& address, const char* verb) {
  if (isStartedBySystemd(address)) {
    return std::string("sudo systemctl ") + verb + " " + unit(".socket");
  }
  return "sudo systemd-socket-activate --listen=" + quotedWord(address) + " /usr/libexec/" +
         std::string(helperServiceIdentifier);
}

/// Zero, or the error of connecting.
int connectionError(const std::string& address) {
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  if (address.size() >= sizeof place.sun_path) return ENAMETOOLONG;
  address.copy(place.sun_path, address.size());
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const auto* const name = reinterpret_cast<const sockaddr*>(&place);
  return ::connect(socket.get(), name, sizeof place) == 0 ? 0 : errno;
}

/// How the service ended last, as systemd has it; empty when it cannot be asked or nothing failed.
std::string lastFailure() {
  constexpr const char* manager = "org.freedesktop.systemd1";
  constexpr const char* service = "org.freedesktop.systemd1.Service";
  const auto bus = openSystemBus();
  char* text = nullptr;
  if (!bus ||
      sd_bus_path_encode("/org/freedesktop/systemd1/unit", unit(".service").c_str(), &text) < 0) {
    return {};
  }
  const std::unique_ptr<char, decltype(&std::free)> path(text, &std::free);
  if (sd_bus_get_property_string(bus.get(), manager, path.get(), service, "Result", nullptr,
                                 &text) < 0) {
    return {};
  }
  const std::unique_ptr<char, decltype(&std::free)> result(text, &std::free);
  std::int32_t status = 0;
  sd_bus_get_property_trivial(bus.get(), manager, path.get(), service, "ExecMainStatus", nullptr,
                              'i', &status);
  if (status == programCannotBeRun) return "its program is missing or cannot be run";
  if (std::string(result.get()) == "success") return {};
  return std::string(result.get()) + ", status " + std::to_string(status);
}

ServiceProblem problemOfAccess(const std::string& address, const struct stat* status) {
  const bool isClosed = status && (status->st_mode & S_IWOTH) == 0;
  return {"This user may not connect to " + address,
          isClosed ? "sudo chmod 0666 " + quotedWord(address) : "namei -l " + quotedWord(address)};
}

}  // namespace

ServiceProblem diagnoseService(const std::string& address) {
  struct stat status;
  if (::lstat(address.c_str(), &status) < 0) {
    if (errno == EACCES) return problemOfAccess(address, nullptr);
    return {"There is no socket at " + address, startCommand(address, "start")};
  }
  if (!S_ISSOCK(status.st_mode)) {
    return {address + " is not a socket", "sudo mv " + quotedWord(address) + " " +
                                              quotedWord(address + ".old") + " && " +
                                              startCommand(address, "restart")};
  }
  const int error = connectionError(address);
  if (error == ECONNREFUSED) {
    return {"The socket is old: no process listens to it", startCommand(address, "restart")};
  }
  if (error == EACCES) return problemOfAccess(address, &status);
  const auto failure = lastFailure();
  return {"The helper does not start, or does not answer" +
              (failure.empty() ? "" : " (" + failure + ")"),
          isStartedBySystemd(address) ? "sudo journalctl -n 20 -u " + unit(".service")
                                      : startCommand(address, "restart")};
}

std::optional<ServiceProblem> stateFolderProblem() {
  constexpr mode_t ofOthers = 0077;
  const auto folder = "/var/lib/" + std::string(helperServiceIdentifier);
  struct stat status;
  if (::lstat(folder.c_str(), &status) < 0) return std::nullopt;
  if (S_ISDIR(status.st_mode) && status.st_uid == 0 && (status.st_mode & ofOthers) == 0) {
    return std::nullopt;
  }
  return ServiceProblem{"Users other than root may read or change " + folder,
                        "sudo chown root:root " + folder + " && sudo chmod 0700 " + folder};
}

}  // namespace qrt
