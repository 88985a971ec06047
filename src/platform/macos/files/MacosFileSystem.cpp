#include "platform/macos/files/MacosFileSystem.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "platform/NativeFileSystem.h"
#include "platform/macos/files/ObjectHold.h"
#include "platform/macos/files/ObjectStatus.h"
#include "platform/posix/CopyContents.h"
#include "platform/posix/NativeError.h"
#include "platform/posix/ReadFile.h"

namespace qrt {
namespace {

static_assert(file_type::whiteout == S_IFWHT);
static_assert(file_flag::userImmutable == UF_IMMUTABLE);
static_assert(file_flag::userAppendOnly == UF_APPEND);
static_assert(file_flag::hidden == UF_HIDDEN);
static_assert(file_flag::systemImmutable == SF_IMMUTABLE);
static_assert(file_flag::systemAppendOnly == SF_APPEND);
static_assert(file_flag::restricted == SF_RESTRICTED);
static_assert(file_flag::noUnlink == SF_NOUNLINK);

/// True when two names mean one entry of a folder, as on a file system that ignores case.
bool areOneEntry(const FileStatus& a, const FileStatus& b) {
  const bool hasOneName = a.isFolder() || a.linkCount == 1;
  return hasOneName && a.isSameObjectAs(b);
}

/// Holds an object without opening it. Not for links.
PosixResult<HeldObject> heldIn(const Folder& folder, const std::string& name) {
  const auto found = objectStatus(folder.descriptor(), name.c_str(), Links::stay);
  if (!found) return found.error();
  if (found->isLink()) return PosixCode::notSupported;
  FileDescriptor ownFolder(::fcntl(folder.descriptor(), F_DUPFD_CLOEXEC, 0));
  if (!ownFolder) return lastError();
  return HeldObject(std::move(ownFolder), name);
}

/// For calls that take no folder. The path names the folder by its number, so that no other process
/// can exchange it.
PosixResult<std::string> pathOf(FileAt object) {
  if (&object.folder == &Folder::ofProcess()) return std::string(object.name);
  struct stat folder;
  if (::fstat(object.folder.descriptor(), &folder) != 0) return lastError();
  return "/.vol/" + std::to_string(folder.st_dev) + "/" + std::to_string(folder.st_ino) + "/" +
         object.name;
}

}  // namespace

PosixResult<FileStatus> MacosFileSystem::status(FileAt object, Links links) {
  return objectStatus(object.folder.descriptor(), object.name, links);
}

PosixResult<HeldObject> MacosFileSystem::hold(FileAt object, Links links) {
  auto held = holdByDescriptor(object, links);
  const bool isNeverOpened = !held && held.error() == PosixCode::notSupported;
  return isNeverOpened ? holdByName(object) : std::move(held);
}

PosixResult<HeldObject> MacosFileSystem::holdByName(FileAt object) {
  if (&object.folder != &Folder::ofProcess()) return heldIn(object.folder, object.name);
  const auto location = locate(object.name);
  if (!location) return location.error();
  return heldIn(location->parent, location->name);
}

PosixResult<Folder> MacosFileSystem::openFolder(FileAt object, Links links) {
  auto folder = PosixFileSystem::openFolder(object, links);
  // The error for a link that is not followed.
  const bool mayBeLink =
      links == Links::stay && !folder && folder.error() == PosixCode::tooManyLinks;
  if (!mayBeLink) return folder;
  const auto found = status(object, Links::stay);
  return found && found->isLink() ? PosixCode::notDirectory : folder.error();
}

PosixResult<std::string> MacosFileSystem::linkTarget(const HeldObject& link) {
  // The system reads links only by their paths.
  char path[MAXPATHLEN];
  if (::fcntl(link.descriptor(), F_GETPATH, path) != 0) {
    const auto code = lastError();
    return code == PosixCode::noSpace ? PosixCode::nameTooLong : code;
  }
  auto target = linkTarget(FileAt(path));
  const auto held = link.status();
  if (!held) return held.error();
  const auto found = status(path, Links::stay);
  const bool isTheSame = found && held->isSameObjectAs(*found);
  return isTheSame ? target : PosixCode::noEntry;
}

PosixCode MacosFileSystem::setFlags(FileAt object, const FileStatus& seen, std::uint32_t wanted) {
  // Only folders can be mount points, so anything else shares the mount of its folder. Elsewhere
  // the call is made without need: only the call shows whether the file system accepts changes.
  const bool sharesMountOfFolder = !seen.isFolder() && &object.folder != &Folder::ofProcess();
  const bool mayRefuse = (seen.flags & file_flag::refusingChanges) != 0;
  if (wanted == seen.flags && !mayRefuse && sharesMountOfFolder && !object.folder.isReadOnly()) {
    return PosixCode::success;
  }
  const auto held = hold(object, Links::stay);
  const auto now = held ? held->status() : held.error();
  if (!now) return now.error();
  // The system writes all flags at once: those that do not change stay as the object has them.
  const auto changes = seen.flags ^ wanted;
  return held->setFlags(*now, (now->flags & ~changes) | (wanted & changes));
}

PosixResult<Data> MacosFileSystem::readFile(FileAt object, std::size_t limit) {
  const auto held = holdByDescriptor(object, Links::follow);
  const auto status = held ? held->status() : held.error();
  if (!status) {
    const auto code = status.error();
    return code == PosixCode::notSupported ? PosixCode::invalidArgument : code;
  }
  if (status->type() != file_type::regular) return PosixCode::invalidArgument;
  return qrt::readFile(held->descriptor(), limit);
}

PosixCode MacosFileSystem::createSpecialFile(FileAt object, const HeldObject& model) {
  const auto special = nativeStatus(model);
  if (!special) return special.error();
  if (S_ISSOCK(special->st_mode)) return PosixCode::notSupported;
  const auto path = pathOf(object);
  if (!path) return path.error();
  constexpr mode_t ownerOnly = 0600;
  const auto mode = static_cast<mode_t>((special->st_mode & file_type::mask) | ownerOnly);
  const auto code = codeFor(::mknod(path->c_str(), mode, special->st_rdev));
  return code == PosixCode::noEntry ? PosixCode::notSupported : code;
}

PosixCode MacosFileSystem::rename(FileAt object, FileAt newObject) {
  const auto code =
      codeFor(::renameatx_np(object.folder.descriptor(), object.name, newObject.folder.descriptor(),
                             newObject.name, RENAME_EXCL));
  const bool isUndecided = code == PosixCode::notSupported || code == PosixCode::exists;
  return isUndecided ? renameAfterLooking(object, newObject) : code;
}

PosixCode MacosFileSystem::renameAfterLooking(FileAt object, FileAt newObject) {
  const auto taken = status(newObject, Links::stay);
  if (!taken && taken.error() != PosixCode::noEntry) return taken.error();
  if (taken) {
    const auto own = status(object, Links::stay);
    if (!own) return own.error();
    const bool isNewSpelling =
        areOneEntry(*own, *taken) && std::string_view(object.name) != newObject.name;
    if (!isNewSpelling) return PosixCode::exists;
  }
  return replace(object, newObject);
}

PosixCode MacosFileSystem::copyContents(const HeldObject& from, OpenFile& to, LeaseWait&) {
  const auto status = from.status();
  if (!status) return status.error();
  const bool isOpen = from.name().empty() && status->type() == file_type::regular;
  return isOpen ? qrt::copyContents(from.descriptor(), to.descriptor(), NoData::isUnknown)
                : PosixCode::invalidArgument;
}

PosixCode MacosFileSystem::synchronize(const Folder& onFileSystem) {
  constexpr int all = SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT;
  return codeFor(::fsync_volume_np(onFileSystem.descriptor(), all));
}

std::unique_ptr<FileSystem> makeNativeFileSystem() { return std::make_unique<MacosFileSystem>(); }

}  // namespace qrt
