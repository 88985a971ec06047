#include "platform/BlockDevice.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>

#include "base/Path.h"
#include "base/Text.h"
#include "platform/FileDescriptor.h"
#include "platform/posix/DeviceWrites.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// What devices are overwritten with. Aligned as writes past the cache need it. Never changed; a
/// constant would take its size in the program's file as well.
alignas(4096) std::uint8_t zeros[BlockDevice::largestWrite];

class OpenDevice final : public BlockDevice {
 public:
  explicit OpenDevice(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {
    struct stat status;
    const bool isBlockDevice = fstat(descriptor_.get(), &status) == 0 && S_ISBLK(status.st_mode);
    bypassesCache_ = isBlockDevice && setCacheBypass(descriptor_.get(), true);
  }

  std::size_t writeUnit() const override { return writeUnitOf(descriptor_.get()); }

  PosixResult<std::size_t> writeZeros(std::size_t count) override {
    auto written = write(descriptor_.get(), zeros, count);
    if (written < 0 && errno == EINVAL && bypassesCache_) {
      // The count does not fit the device's sectors.
      bypassesCache_ = false;
      setCacheBypass(descriptor_.get(), false);
      written = write(descriptor_.get(), zeros, count);
    }
    if (written < 0) return lastError();
    return static_cast<std::size_t>(written);
  }

  PosixCode synchronize() override {
    if (flushToMedium(descriptor_.get()) == 0) return PosixCode::success;
    // FIFOs and devices that keep nothing have no such call.
    const bool keepsNothing = errno == EINVAL || errno == ENOTSUP;
    return keepsNothing ? PosixCode::success : lastError();
  }

 private:
  FileDescriptor descriptor_;
  bool bypassesCache_ = false;
};

bool hasParentComponent(std::string_view path) {
  while (!path.empty()) {
    if (path::takeFirstComponent(path) == "..") return true;
  }
  return false;
}

}  // namespace

PosixResult<std::unique_ptr<BlockDevice>> openBlockDevice(const std::string& root,
                                                          const std::string& name) {
  if (holdsZeroByte(name)) return PosixCode::noEntry;
  if (hasParentComponent(name)) return PosixCode::invalidArgument;
  auto path = root + "/dev/" + name;
  while (path.back() == '/') path.pop_back();
  FileDescriptor device(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!device) return lastError();
  return std::unique_ptr<BlockDevice>(std::make_unique<OpenDevice>(std::move(device)));
}

}  // namespace qrt
