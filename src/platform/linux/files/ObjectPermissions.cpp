#include "platform/linux/files/ObjectPermissions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/files/DescriptorPath.h"
#include "platform/posix/NativeError.h"

namespace qrt::object_permissions {
namespace {

/// `fchmodat2`; the system's headers lack it.
constexpr long changeMode = 452;

}  // namespace

PosixCode write(int object, std::uint32_t permissions) {
  const auto code = writeByDescriptor(object, permissions);
  return code == PosixCode::notImplemented ? writeByPath(object, permissions) : code;
}

PosixCode writeByDescriptor(int object, std::uint32_t permissions) {
  return codeFor(
      ::syscall(changeMode, object, "", static_cast<mode_t>(permissions), AT_EMPTY_PATH));
}

PosixCode writeByPath(int object, std::uint32_t permissions) {
  struct stat status;
  if (::fstat(object, &status) != 0) return lastError();
  // Some file systems would change the link and report a failure, others would just change it.
  if (S_ISLNK(status.st_mode)) return PosixCode::notSupported;
  return codeFor(::chmod(descriptorPath(object).c_str(), static_cast<mode_t>(permissions)));
}

}  // namespace qrt::object_permissions
