#include "platform/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "platform/posix/DeviceWrites.h"
#include "platform/posix/NativeError.h"

namespace qrt {

PosixCode OpenFile::write(const Data& bytes) {
  for (std::size_t written = 0; written < bytes.size();) {
    const auto count = ::write(descriptor(), bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return lastError();
    if (count == 0) return PosixCode::noSpace;
    written += static_cast<std::size_t>(count);
  }
  return PosixCode::success;
}

PosixCode OpenFile::setOwner(std::uint32_t userID, std::uint32_t groupID) {
  return codeFor(::fchown(descriptor(), userID, groupID));
}

PosixCode OpenFile::setPermissions(std::uint32_t permissions) {
  return codeFor(::fchmod(descriptor(), static_cast<mode_t>(permissions)));
}

PosixResult<HeldObject> OpenFile::hold() const {
  FileDescriptor same(::fcntl(descriptor(), F_DUPFD_CLOEXEC, 0));
  if (!same) return lastError();
  return HeldObject(std::move(same));
}

PosixCode OpenFile::synchronize() { return codeFor(flushToMedium(descriptor())); }

}  // namespace qrt
