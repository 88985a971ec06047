#include "platform/linux/LinuxFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdio>

#include "platform/NativeFileSystem.h"
#include "platform/linux/InodeFlags.h"
#include "platform/linux/ObjectHandle.h"
#include "platform/posix/CopyContents.h"
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

PosixCode codeFor(int result) { return result == 0 ? PosixCode::success : lastError(); }

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

PosixCode LinuxFileSystem::createSpecialFile(FileAt object, FileAt model) {
  struct stat status;
  if (::fstatat(model.folder.descriptor(), model.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return lastError();
  }
  const mode_t mode = (status.st_mode & file_type::mask) | 0600;
  return codeFor(::mknodat(object.folder.descriptor(), object.name, mode, status.st_rdev));
}

PosixCode LinuxFileSystem::rename(FileAt object, FileAt newObject) {
  const auto code =
      codeFor(::renameat2(object.folder.descriptor(), object.name, newObject.folder.descriptor(),
                          newObject.name, RENAME_NOREPLACE));
  // What an old kernel or a simple file system answers; the latter also means a folder that is to
  // be moved into itself, which then fails once more.
  const bool mayLackRefusal =
      code == PosixCode::notImplemented || code == PosixCode::invalidArgument;
  return mayLackRefusal ? renameAfterLooking(object, newObject) : code;
}

PosixCode LinuxFileSystem::renameAfterLooking(FileAt object, FileAt newObject) {
  const auto taken = status(newObject, Links::stay);
  if (taken) return PosixCode::exists;
  if (taken.error() != PosixCode::noEntry) return taken.error();
  return codeFor(::renameat(object.folder.descriptor(), object.name, newObject.folder.descriptor(),
                            newObject.name));
}

PosixCode LinuxFileSystem::copyTimes(FileAt from, FileAt to) {
  struct stat status;
  if (::fstatat(from.folder.descriptor(), from.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return lastError();
  }
  const timespec times[] = {status.st_atim, status.st_mtim};
  return codeFor(::utimensat(to.folder.descriptor(), to.name, times, AT_SYMLINK_NOFOLLOW));
}

PosixCode LinuxFileSystem::copyContents(FileAt from, OpenFile& to) {
  const auto handle = ObjectHandle::open(from, Links::stay);
  if (!handle) return handle.error();
  if (handle->type() != file_type::regular) return PosixCode::invalidArgument;
  const auto file = handle->openForReading();
  if (!file) return file.error();
  return qrt::copyContents(file->get(), to.descriptor());
}

PosixCode LinuxFileSystem::synchronize(const Folder& onFileSystem) {
  return codeFor(::syncfs(onFileSystem.descriptor()));
}

std::unique_ptr<FileSystem> makeNativeFileSystem() { return std::make_unique<LinuxFileSystem>(); }

}  // namespace qrt
