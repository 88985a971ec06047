#include "platform/posix/PosixSelfProcess.h"

#include <unistd.h>

#include <csignal>

#include "platform/posix/DescriptorLimit.h"

namespace qrt {

std::uint32_t PosixSelfProcess::realUserID() const { return getuid(); }

void PosixSelfProcess::prepareForService() {
  // A walk holds a stream for every level it is in, and several walk at the same time.
  raiseDescriptorLimit();
  std::signal(SIGPIPE, SIG_IGN);
  // A parent that ignored its children's ends would have us lose the statuses of ours.
  std::signal(SIGCHLD, SIG_DFL);
}

void PosixSelfProcess::exit(int status) {
  // Other threads may be at work: nothing is torn down under them.
  _exit(status);
}

}  // namespace qrt
