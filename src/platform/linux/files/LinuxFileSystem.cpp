#include "platform/linux/files/LinuxFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "platform/NativeFileSystem.h"
#include "platform/linux/files/InodeFlags.h"
#include "platform/linux/files/ObjectHold.h"
#include "platform/linux/files/ObjectStatus.h"
#include "platform/posix/CopyContents.h"
#include "platform/posix/LinkTarget.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"
#include "platform/posix/ReadOnlyMount.h"

namespace qrt {
namespace {

bool isOnReadOnlyMount(FileAt object, const FileStatus& seen) {
  const bool sharesMountOfFolder = !seen.isMountRoot && &object.folder != &Folder::ofProcess();
  if (sharesMountOfFolder) return object.folder.isReadOnly();
  const auto held = holdObject(object, Links::stay);
  return held && refusesChanges(held->descriptor());
}

}  // namespace

PosixResult<FileStatus> LinuxFileSystem::status(FileAt object, Links links) {
  return objectStatus(object.folder.descriptor(), object.name,
                      links == Links::stay ? AT_SYMLINK_NOFOLLOW : 0);
}

PosixResult<HeldObject> LinuxFileSystem::hold(FileAt object, Links links) {
  return holdObject(object, links);
}

PosixResult<HeldObject> LinuxFileSystem::holdOpen(FileAt object) {
  FileDescriptor descriptor(::openat(object.folder.descriptor(), object.name,
                                     O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
  if (!descriptor) return holdObject(object, Links::stay);
  return HeldObject(std::move(descriptor));
}

PosixResult<std::string> LinuxFileSystem::linkTarget(const HeldObject& link) {
  return qrt::linkTarget(link.descriptor(), "");
}

PosixCode LinuxFileSystem::setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) {
  if (isOnReadOnlyMount(object, seen)) return PosixCode::readOnlyFileSystem;
  if (wanted == seen.flags) return PosixCode::success;
  if (!inode_flags::canBe(wanted, seen.type())) return PosixCode::notSupported;
  return inode_flags::write(object, {seen.flags, wanted});
}

PosixResult<Data> LinuxFileSystem::readFile(FileAt object, std::size_t limit) {
  const auto held = holdObject(object, Links::follow);
  const auto status = held ? held->status() : held.error();
  if (!status) return status.error();
  if (status->type() != file_type::regular) return PosixCode::invalidArgument;
  const auto file = openForReading(*held);
  return file ? qrt::readFile(file->get(), limit) : file.error();
}

PosixCode LinuxFileSystem::createSpecialFile(FileAt object, const HeldObject& model) {
  struct stat status;
  if (::fstat(model.descriptor(), &status) != 0) return lastError();
  const mode_t mode = (status.st_mode & file_type::mask) | 0600;
  return codeFor(::mknodat(object.folder.descriptor(), object.name, mode, status.st_rdev));
}

PosixCode LinuxFileSystem::rename(FileAt object, FileAt newObject) {
  const auto code =
      codeFor(::renameat2(object.folder.descriptor(), object.name, newObject.folder.descriptor(),
                          newObject.name, RENAME_NOREPLACE));
  // An old kernel answers the first, a simple file system the second, which also means that a
  // folder shall be moved into itself; that fails again below.
  const bool mayLackRefusal =
      code == PosixCode::notImplemented || code == PosixCode::invalidArgument;
  return mayLackRefusal ? renameAfterLooking(object, newObject) : code;
}

PosixCode LinuxFileSystem::renameAfterLooking(FileAt object, FileAt newObject) {
  const auto taken = status(newObject, Links::stay);
  if (taken) return PosixCode::exists;
  if (taken.error() != PosixCode::noEntry) return taken.error();
  return replace(object, newObject);
}

PosixCode LinuxFileSystem::copyContents(const HeldObject& from, OpenFile& to, LeaseWait& leases) {
  const auto status = from.status();
  if (!status) return status.error();
  if (status->type() != file_type::regular) return PosixCode::invalidArgument;
  const auto file = openForReading(from, leases);
  if (!file) return file.error();
  return qrt::copyContents(file->get(), to.descriptor(), NoData::isHole);
}

PosixCode LinuxFileSystem::synchronize(const Folder& onFileSystem) {
  return codeFor(::syncfs(onFileSystem.descriptor()));
}

std::unique_ptr<FileSystem> makeNativeFileSystem() { return std::make_unique<LinuxFileSystem>(); }

}  // namespace qrt
