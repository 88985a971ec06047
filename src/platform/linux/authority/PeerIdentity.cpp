#include "platform/linux/authority/PeerIdentity.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/linux/ProcessFiles.h"

#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77  // Kernel 6.5; Debian 12's headers do not have it.
#endif

namespace qrt {
namespace {

std::optional<ucred> credentialsOf(int socket) {
  ucred credentials{};
  socklen_t length = sizeof credentials;
  if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &length) < 0) return std::nullopt;
  return credentials;
}

/// The kernel's own handle of the peer where it gives one, else one found by number.
FileDescriptor processHandle(int socket, std::int32_t processID, bool askForHandle) {
  int handle = -1;
  socklen_t length = sizeof handle;
  if (askForHandle && getsockopt(socket, SOL_SOCKET, SO_PEERPIDFD, &handle, &length) == 0) {
    return FileDescriptor(handle);
  }
  return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, processID, 0)));
}

}  // namespace

bool isRunning(const FileDescriptor& process) {
  pollfd ended{process.get(), POLLIN, 0};
  return poll(&ended, 1, 0) == 0;
}

std::optional<std::uint64_t> startTimeOfProcess(std::int32_t processID) {
  char path[32];
  std::snprintf(path, sizeof path, "/proc/%d/stat", processID);
  const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC));
  char buffer[1024];
  const auto length = file ? read(file.get(), buffer, sizeof buffer) : -1;
  if (length <= 0) return std::nullopt;
  return startTimeInStat({buffer, static_cast<std::size_t>(length)});
}

std::optional<std::uint32_t> userOfPeer(int socket) {
  const auto credentials = credentialsOf(socket);
  if (!credentials) return std::nullopt;
  return credentials->uid;
}

std::optional<PeerIdentity> identityOfPeer(int socket, bool askForHandle) {
  const auto credentials = credentialsOf(socket);
  // The number of a process in another namespace is 0 here, and all users of another namespace
  // show as the overflow user.
  constexpr uid_t overflowUser = 65534;
  if (!credentials || credentials->pid <= 0 || credentials->uid == overflowUser)
    return std::nullopt;
  const auto handle = processHandle(socket, credentials->pid, askForHandle);
  const auto startTime = startTimeOfProcess(credentials->pid);
  // The process still runs, so the start time is its own and not that of a successor with the same
  // number.
  if (!handle || !startTime || !isRunning(handle)) return std::nullopt;
  return PeerIdentity{credentials->uid, credentials->pid, *startTime};
}

Caller callerAt(int socket, std::uint32_t user) {
  Caller caller{.userID = user};
  const auto credentials = credentialsOf(socket);
  if (!credentials) return caller;
  char program[PATH_MAX];
  const auto link = "/proc/" + std::to_string(credentials->pid) + "/exe";
  const auto length = readlink(link.c_str(), program, sizeof program);
  // In this order: the peer is still the process that connected, so the program is its own.
  const auto process = identityOfPeer(socket);
  if (!process) return caller;
  caller.processID = process->processID;
  caller.startTime = process->startTime;
  if (length > 0) caller.executable.assign(program, static_cast<std::size_t>(length));
  return caller;
}

std::optional<PeerIdentity> processOf(const Caller& caller) {
  if (caller.processID == 0) return std::nullopt;
  return PeerIdentity{caller.userID, caller.processID, caller.startTime};
}

std::optional<FileDescriptor> openProcess(const PeerIdentity& identity) {
  FileDescriptor handle(static_cast<int>(syscall(SYS_pidfd_open, identity.processID, 0)));
  if (!handle || startTimeOfProcess(identity.processID) != identity.startTime ||
      !isRunning(handle)) {
    return std::nullopt;
  }
  return handle;
}

}  // namespace qrt
