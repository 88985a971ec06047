#include "platform/linux/LinuxSelfProcess.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace qrt {

std::uint32_t LinuxSelfProcess::realUserID() const { return getuid(); }

void LinuxSelfProcess::prepareForService() {
  // A walk holds a stream for every level it is in, and several walk at the same time.
  rlimit descriptors;
  if (getrlimit(RLIMIT_NOFILE, &descriptors) == 0) {
    descriptors.rlim_cur = descriptors.rlim_max;
    setrlimit(RLIMIT_NOFILE, &descriptors);
  }
  std::signal(SIGPIPE, SIG_IGN);
}

void LinuxSelfProcess::exit(int status) {
  // Other threads may be at work: nothing is torn down under them.
  _exit(status);
}

}  // namespace qrt
