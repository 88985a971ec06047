#include "platform/linux/LinuxFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "platform/NativeFileSystem.h"
#include "platform/linux/InodeFlags.h"
#include "platform/linux/ObjectHandle.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

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

bool isOnReadOnlyMount(FileAt object, Links links, const FileStatus& current) {
  const bool sharesMountOfFolder =
      links == Links::stay && !current.isMountRoot && &object.folder != &Folder::ofProcess();
  if (sharesMountOfFolder) return object.folder.isReadOnly();
  auto handle = ObjectHandle::open(object, links);
  return handle && Folder(std::move(*handle).takeDescriptor()).isReadOnly();
}

}  // namespace

PosixResult<FileStatus> LinuxFileSystem::status(FileAt object, Links links) {
  const int flags = AT_NO_AUTOMOUNT | (links == Links::stay ? AT_SYMLINK_NOFOLLOW : 0);
  struct statx answer;
  if (::statx(object.folder.descriptor(), object.name, flags, STATX_BASIC_STATS, &answer) != 0) {
    return lastError();
  }
  return statusOf(answer);
}

PosixCode LinuxFileSystem::setFlags(FileAt object, Links links, const FileStatus& current,
                                    std::uint32_t wanted) {
  if (isOnReadOnlyMount(object, links, current)) return PosixCode::readOnlyFileSystem;
  if (wanted == current.flags) return PosixCode::success;
  const bool canHaveThem =
      (wanted & ~inode_flags::known) == 0 && inode_flags::mayBeOn(current.type());
  if (!canHaveThem) return PosixCode::notSupported;
  return inode_flags::write(object, links, wanted);
}

PosixResult<Data> LinuxFileSystem::readFile(FileAt object, std::size_t limit) {
  const auto handle = ObjectHandle::open(object, Links::follow);
  if (!handle) return handle.error();
  if (handle->type() != file_type::regular) return PosixCode::invalidArgument;
  return qrt::readFile(AT_FDCWD, handle->path().c_str(), limit);
}

std::unique_ptr<FileSystem> makeNativeFileSystem() { return std::make_unique<LinuxFileSystem>(); }

}  // namespace qrt
