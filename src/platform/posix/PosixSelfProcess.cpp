#include "platform/SelfProcess.h"

#include <unistd.h>

#include <csignal>

#include "platform/posix/DescriptorLimit.h"
#include "platform/posix/NativeFacilities.h"

namespace qrt {
namespace {

/// This process.
class PosixSelfProcess : public SelfProcess {
 public:
  std::uint32_t realUserID() const override { return getuid(); }

  void prepareForService() override {
    // A walk holds a stream for every level it is in, and several walk at the same time.
    raiseDescriptorLimit();
    std::signal(SIGPIPE, SIG_IGN);
    // A parent that ignored its children's ends would have us lose the statuses of ours.
    std::signal(SIGCHLD, SIG_DFL);
  }

  [[noreturn]] void exit(int status) override {
    // Other threads may be at work: nothing is torn down under them.
    _exit(status);
  }
};

}  // namespace

std::unique_ptr<SelfProcess> makeSelfProcess() { return std::make_unique<PosixSelfProcess>(); }

}  // namespace qrt
