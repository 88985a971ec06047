#include "platform/macos/files/MacosVolumes.h"

#include <sys/mount.h>
#include <sys/param.h>

#include "platform/posix/NativeError.h"

namespace qrt {

PosixResult<std::string> MacosVolumes::mountPoint(const std::string& path) {
  if (path.find('\0') != std::string::npos) return PosixCode::noEntry;
  struct statfs volume;
  if (::statfs(path.c_str(), &volume) != 0) return lastError();
  return std::string(volume.f_mntonname);
}

}  // namespace qrt
