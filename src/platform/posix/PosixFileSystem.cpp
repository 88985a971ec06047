#include "platform/posix/PosixFileSystem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "platform/posix/NativeError.h"

namespace qrt {
namespace {

/// How a folder is opened that is only a base. Where the system can, that needs no right to read
/// it.
#ifdef O_PATH
constexpr int baseAccess = O_PATH;
#else
constexpr int baseAccess = O_RDONLY;
#endif

PosixResult<Folder> openedFolder(FileAt object, int flags) {
  FileDescriptor descriptor(
      ::openat(object.folder.descriptor(), object.name, flags | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor) return lastError();
  return Folder(std::move(descriptor));
}

bool isPath(const std::string& text) {
  return !text.empty() && text.find('\0') == std::string::npos;
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

PosixCode removed(FileAt object, int flags) {
  if (::unlinkat(object.folder.descriptor(), object.name, flags) == 0) return PosixCode::success;
  return lastError();
}

}  // namespace

PosixResult<Folder> PosixFileSystem::openFolder(FileAt object, Links links) {
  return openedFolder(object, O_RDONLY | O_NONBLOCK | (links == Links::stay ? O_NOFOLLOW : 0));
}

PosixResult<Location> PosixFileSystem::locate(const std::string& path) {
  if (!isPath(path)) return PosixCode::noEntry;
  auto [parentPath, name] = split(path);
  auto parent = openedFolder(parentPath.c_str(), baseAccess);
  if (!parent) return parent.error();
  return Location{std::move(*parent), std::move(name)};
}

PosixResult<std::string> PosixFileSystem::resolvedPath(const std::string& path) {
  if (!isPath(path)) return PosixCode::noEntry;
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  if (!resolved) return lastError();
  return std::string(resolved.get());
}

PosixCode PosixFileSystem::removeFolder(FileAt object) { return removed(object, AT_REMOVEDIR); }

PosixCode PosixFileSystem::removeFile(FileAt object) { return removed(object, 0); }

}  // namespace qrt
