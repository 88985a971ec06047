#include "platform/Volumes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "base/Text.h"
#include "platform/linux/LinuxFacilities.h"
#include "platform/linux/files/MountTable.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

/// A mount of a part of a file system counts as one.
class LinuxVolumes final : public Volumes {
 public:
  explicit LinuxVolumes(const std::string& root) : table_(root + "/proc/self/mountinfo") {}

  PosixResult<std::string> mountPoint(const std::string& path) override {
    if (holdsZeroByte(path)) return PosixCode::noEntry;
    struct statx status {};
    if (statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0) return lastError();
    if ((status.stx_mask & STATX_MNT_ID) == 0) return PosixCode::notSupported;
    constexpr std::size_t largestTable = 64 << 20;
    const auto table = readFile(AT_FDCWD, table_.c_str(), largestTable);
    if (!table) return table.error();
    auto place = mountPointIn(asText(*table), status.stx_mnt_id);
    if (!place) return PosixCode::noEntry;
    return std::move(*place);
  }

 private:
  const std::string table_;
};

}  // namespace

std::unique_ptr<Volumes> makeVolumes(const std::string& root) {
  return std::make_unique<LinuxVolumes>(root);
}

}  // namespace qrt
