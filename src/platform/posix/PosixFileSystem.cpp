#include "platform/posix/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <random>

#include "base/Text.h"
#include "platform/posix/LinkTarget.h"
#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// How a folder is opened that is used as a base only. With O_PATH this needs no right to read it.
#ifdef O_PATH
constexpr int baseAccess = O_PATH;
#else
constexpr int baseAccess = O_RDONLY;
#endif

PosixResult<Folder> openedFolder(int base, const char* path, int flags) {
  FileDescriptor descriptor(::openat(base, path, flags | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor) return lastError();
  return Folder(std::move(descriptor));
}

struct SplitPath {
  std::string parent;
  std::string name;
};

SplitPath split(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const auto slash = path.rfind('/');
  const auto nameStart = slash == std::string::npos ? 0 : slash + 1;
  auto name = path.substr(nameStart);
  if (name.empty() || name == "." || name == "..") return {std::move(path), "."};
  if (nameStart == 0) return {".", std::move(name)};
  path.resize(nameStart);
  return {std::move(path), std::move(name)};
}

bool endsInSlash(const std::string& path) { return path.size() > 1 && path.back() == '/'; }

/// The system's error for a path as it is written. An absent object is no error.
PosixCode refusalOf(const std::string& path) {
  struct stat status;
  const auto code = codeFor(::lstat(path.c_str(), &status));
  return code == PosixCode::noEntry ? PosixCode::success : code;
}

PosixCode removed(FileAt object, int flags) {
  return codeFor(::unlinkat(object.folder.descriptor(), object.name, flags));
}

/// The permissions of a new folder until it gets its own. Its owner can open it. No other program
/// creates folders with these or keeps them.
constexpr mode_t justMade = 0400;

/// Whether the object's owner is this process's effective user and its permissions are those of
/// `justMade`. The set-group bit does not count: the parent folder decides about it.
PosixResult<bool> showsJustMade(int object) {
  struct stat status;
  constexpr mode_t others = S_IRWXU | S_IRWXG | S_IRWXO | S_ISVTX | S_ISUID;
  if (::fstat(object, &status) != 0) return lastError();
  return status.st_uid == ::geteuid() && (status.st_mode & others & ~justMade) == 0;
}

/// Whether the file system keeps owners and permissions. Creates a file beside the object to see
/// that, and returns true when it cannot.
bool keepsOwners(FileAt object) {
  std::random_device random;
  const std::string path = object.name;
  const auto name = path.substr(0, path.rfind('/') + 1) + ".new-" + std::to_string(random()) + "-" +
                    std::to_string(random());
  const FileDescriptor file(::openat(object.folder.descriptor(), name.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, justMade));
  if (!file) return true;
  removed({object.folder, name.c_str()}, 0);
  const auto isKept = showsJustMade(file.get());
  return !isKept || *isKept;
}

PosixResult<bool> isEmpty(const Folder& folder) {
  FileDescriptor same(::fcntl(folder.descriptor(), F_DUPFD_CLOEXEC, 0));
  if (!same) return lastError();
  Folder listed(std::move(same));
  const auto entry = listed.next();
  listed.rewind();
  if (!entry) return entry.error();
  return !*entry;
}

/// Whether a folder that was opened by its name is the one that was just made there. If another
/// process replaced it, the replacement would get rights or contents that are not meant for it. On
/// a file system without owners every folder passes: there are no rights to get.
PosixResult<bool> isJustMade(const Folder& folder, FileAt object) {
  const auto isShown = showsJustMade(folder.descriptor());
  if (!isShown) return isShown.error();
  return *isShown ? isEmpty(folder) : !keepsOwners(object);
}

}  // namespace

PosixResult<Folder> PosixFileSystem::openFolder(FileAt object, Links links) {
  return openedFolder(object.folder.descriptor(), object.name,
                      O_RDONLY | O_NONBLOCK | (links == Links::stay ? O_NOFOLLOW : 0));
}

PosixResult<Folder> PosixFileSystem::openFolder(const HeldObject& folder) {
  return openedFolder(folder.descriptor(), ".", O_RDONLY | O_NONBLOCK);
}

PosixResult<Location> PosixFileSystem::locate(const std::string& path) {
  const bool isPath = !path.empty() && !holdsZeroByte(path);
  if (!isPath) return PosixCode::noEntry;
  const bool meansFolder = endsInSlash(path);
  const auto refusal = meansFolder ? refusalOf(path) : PosixCode::success;
  if (refusal != PosixCode::success) return refusal;
  auto [parentPath, name] = split(path);
  auto parent = openedFolder(AT_FDCWD, parentPath.c_str(), baseAccess);
  if (!parent) return parent.error();
  return Location{std::move(*parent), std::move(name), meansFolder};
}

PosixResult<std::string> PosixFileSystem::linkTarget(FileAt link) {
  return qrt::linkTarget(link.folder.descriptor(), link.name);
}

PosixResult<std::string> PosixFileSystem::resolvedPath(const std::string& path) {
  if (holdsZeroByte(path)) return PosixCode::noEntry;
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (!resolved) return lastError();
  return std::string(resolved.get());
}

PosixResult<OpenFile> PosixFileSystem::createFile(FileAt object, std::uint32_t permissions) {
  const auto mode = static_cast<mode_t>(permissions);
  OpenFile file(FileDescriptor(::openat(object.folder.descriptor(), object.name,
                                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)));
  if (file.descriptor() < 0) return lastError();
  const auto code = file.setPermissions(permissions);
  if (code == PosixCode::success) return file;
  removed(object, 0);
  return code;
}

PosixResult<Folder> PosixFileSystem::createFolder(FileAt object, std::uint32_t permissions) {
  const auto mode = static_cast<mode_t>(permissions);
  if (::mkdirat(object.folder.descriptor(), object.name, justMade) != 0) return lastError();
  auto folder = openFolder(object, Links::stay);
  const auto isOurs = folder ? isJustMade(*folder, object) : folder.error();
  if (isOurs && !*isOurs) return PosixCode::exists;
  auto code = isOurs ? PosixCode::success : isOurs.error();
  if (isOurs && ::fchmod(folder->descriptor(), mode) != 0) code = lastError();
  if (code == PosixCode::success) return folder;
  removeFolder(object);
  return code;
}

PosixCode PosixFileSystem::createLink(FileAt object, const std::string& target) {
  if (holdsZeroByte(target)) return PosixCode::invalidArgument;
  return codeFor(::symlinkat(target.c_str(), object.folder.descriptor(), object.name));
}

PosixCode PosixFileSystem::createHardLink(FileAt object, FileAt existing) {
  return codeFor(::linkat(existing.folder.descriptor(), existing.name, object.folder.descriptor(),
                          object.name, 0));
}

PosixCode PosixFileSystem::replace(FileAt object, FileAt replaced) {
  return codeFor(::renameat(object.folder.descriptor(), object.name, replaced.folder.descriptor(),
                            replaced.name));
}

PosixCode PosixFileSystem::removeFolder(FileAt object) { return removed(object, AT_REMOVEDIR); }

PosixCode PosixFileSystem::removeFile(FileAt object) { return removed(object, 0); }

}  // namespace qrt
