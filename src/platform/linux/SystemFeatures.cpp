#include "platform/SystemFeatures.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileDescriptor.h"
#include "platform/linux/SdBus.h"

#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77  // Kernel 6.5; Debian 12's headers do not have it.
#endif

namespace qrt {
namespace {

constexpr long fileGetAttributes = 468;  // Kernel 6.17.

bool exists(const char* path) { return access(path, F_OK) == 0; }

bool hasStatx() {
  struct statx answer;
  return statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS, &answer) == 0;
}

/// On the file system of the root folder; others may differ.
bool hasImmutableFlags() {
  struct statx answer;
  return statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS, &answer) == 0 &&
         (answer.stx_attributes_mask & STATX_ATTR_IMMUTABLE) != 0;
}

bool hasProcessHandles() {
  return static_cast<bool>(FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, getpid(), 0))));
}

bool hasPeerHandles() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
  const FileDescriptor one(ends[0]);
  const FileDescriptor other(ends[1]);
  int handle = -1;
  socklen_t length = sizeof handle;
  if (getsockopt(one.get(), SOL_SOCKET, SO_PEERPIDFD, &handle, &length) != 0) return false;
  const FileDescriptor closing(handle);
  return true;
}

/// The call has no valid arguments and always fails, but with ENOSYS on older kernels only.
bool hasFlagsByName() {
  return syscall(fileGetAttributes, AT_FDCWD, nullptr, nullptr, 0, 0) == 0 || errno != ENOSYS;
}

enum class Polkit { answers, isAbsent, isSilent };

Polkit stateOfPolkit() {
  const auto bus = openSystemBus();
  if (!bus) return Polkit::isAbsent;
  BusErrorOwner problem;
  if (sd_bus_call_method(bus.get(), "org.freedesktop.PolicyKit1",
                         "/org/freedesktop/PolicyKit1/Authority", "org.freedesktop.DBus.Peer",
                         "Ping", &problem.error, nullptr, nullptr) >= 0) {
    return Polkit::answers;
  }
  // The bus knows no such service where polkit is not installed.
  const bool isUnknown = sd_bus_error_has_name(&problem.error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0 ||
                         sd_bus_error_has_name(&problem.error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0;
  return isUnknown ? Polkit::isAbsent : Polkit::isSilent;
}

}  // namespace

std::vector<SystemFeature> systemFeatures() {
  return {
      {"statx", hasStatx(), true, "reads the status and flags of objects"},
      {"process handles", hasProcessHandles(), true, "keep a process from being taken for another"},
      {"handles of peers", hasPeerHandles(), false, "without them a peer is found by its number"},
      {"immutable flags", hasImmutableFlags(), false, "on the root file system"},
      {"flags by name", hasFlagsByName(), false, "without it objects are opened to change flags"},
      {"firmware variables", exists("/sys/firmware/efi/efivars"), false, "for modify-nvram"},
      // The kernel offers the controller's keys for reading alone.
      {"management controller", false, false, "for write-smcvalue; this system refuses all writes"},
      {"IPv6", exists("/proc/sys/net/ipv6/conf"), false, "for enable-ipvsix"},
      {"installer programs", false, false, "for create-installmedia; made for another system"},
      {"text agent", exists("/usr/bin/pkttyagent"), false, "asks for passwords on a terminal"},
  };
}

AuthorityInUse authorityInUse() {
  const auto polkit = stateOfPolkit();
  if (polkit == Polkit::answers) return {"polkit", true};
  if (polkit == Polkit::isSilent) {
    return {"polkit does not answer", false, "sudo systemctl restart polkit.service"};
  }
  return {"the helper's own (polkit cannot be reached): most operations are for root", false};
}

}  // namespace qrt
