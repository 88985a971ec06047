#include "platform/linux/files/ObjectStatus.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "platform/linux/files/InodeFlags.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

std::uint32_t modeOf(const struct statx& answer) {
  const bool isWhiteout =
      S_ISCHR(answer.stx_mode) && answer.stx_rdev_major == 0 && answer.stx_rdev_minor == 0;
  if (!isWhiteout) return answer.stx_mode;
  return file_type::whiteout | (answer.stx_mode & ~file_type::mask);
}

FileStatus statusOf(const struct statx& answer) {
  const auto attributes = answer.stx_attributes & answer.stx_attributes_mask;
  FileStatus status;
  status.mode = modeOf(answer);
  status.flags = inode_flags::fromAttributes(attributes);
  status.userID = answer.stx_uid;
  status.groupID = answer.stx_gid;
  status.device = makedev(answer.stx_dev_major, answer.stx_dev_minor);
  status.inode = answer.stx_ino;
  status.linkCount = answer.stx_nlink;
  status.size = answer.stx_size;
  status.modificationDate.secondsSince1970 =
      static_cast<double>(answer.stx_mtime.tv_sec) + answer.stx_mtime.tv_nsec * 1e-9;
  status.isMountRoot = (attributes & STATX_ATTR_MOUNT_ROOT) != 0;
  return status;
}

}  // namespace

PosixResult<FileStatus> objectStatus(int folder, const char* name, int flags) {
  struct statx answer;
  if (::statx(folder, name, flags | AT_NO_AUTOMOUNT, STATX_BASIC_STATS, &answer) != 0) {
    return lastError();
  }
  return statusOf(answer);
}

}  // namespace qrt
