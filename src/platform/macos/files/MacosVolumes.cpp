#include "platform/Volumes.h"

#include <sys/mount.h>
#include <sys/param.h>

#include "base/Text.h"
#include "platform/macos/MacosFacilities.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// Mounted file systems as the kernel lists them.
class MacosVolumes final : public Volumes {
 public:
  PosixResult<std::string> mountPoint(const std::string& path) override {
    if (holdsZeroByte(path)) return PosixCode::noEntry;
    struct statfs volume;
    if (::statfs(path.c_str(), &volume) != 0) return lastError();
    return std::string(volume.f_mntonname);
  }
};

}  // namespace

std::unique_ptr<Volumes> makeVolumes() { return std::make_unique<MacosVolumes>(); }

}  // namespace qrt
