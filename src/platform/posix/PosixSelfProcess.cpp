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
    // A walk has a stream open for each level of its path, and several walks run at the same time.
    raiseDescriptorLimit();
    std::signal(SIGPIPE, SIG_IGN);
    // An ignored SIGCHLD is inherited from the parent, and the system then keeps no statuses.
    std::signal(SIGCHLD, SIG_DFL);
  }

  [[noreturn]] void exit(int status) override {
    // Other threads still run: destroying objects could crash them.
    _exit(status);
  }
};

}  // namespace

std::unique_ptr<SelfProcess> makeSelfProcess() { return std::make_unique<PosixSelfProcess>(); }

}  // namespace qrt
