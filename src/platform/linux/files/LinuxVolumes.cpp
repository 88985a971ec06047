#include "platform/linux/files/LinuxVolumes.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/files/MountTable.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {

PosixResult<std::string> LinuxVolumes::mountPoint(const std::string& path) {
  if (path.find('\0') != std::string::npos) return PosixCode::noEntry;
  struct statx status {};
  if (statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &status) != 0) return lastError();
  if ((status.stx_mask & STATX_MNT_ID) == 0) return PosixCode::notSupported;
  constexpr std::size_t largestTable = 64 << 20;
  const auto table = readFile(AT_FDCWD, table_.c_str(), largestTable);
  if (!table) return table.error();
  auto place = mountPointIn({reinterpret_cast<const char*>(table->data()), table->size()},
                            status.stx_mnt_id);
  if (!place) return PosixCode::noEntry;
  return std::move(*place);
}

}  // namespace qrt
