#include "platform/linux/wire/ActivationSocket.h"

#include <sys/socket.h>
#include <systemd/sd-daemon.h>

namespace qrt {
namespace {

/// Asked once: answering clears the environment.
int passedDescriptors() {
  static const int count = sd_listen_fds(/*unset_environment=*/1);
  return count;
}

}  // namespace

bool startedByActivator() { return passedDescriptors() > 0; }

std::optional<FileDescriptor> takeActivationSocket() {
  if (!startedByActivator()) return std::nullopt;
  constexpr int listening = 1;
  if (sd_is_socket(SD_LISTEN_FDS_START, AF_UNIX, SOCK_STREAM, listening) <= 0) return std::nullopt;
  return FileDescriptor(SD_LISTEN_FDS_START);
}

}  // namespace qrt
