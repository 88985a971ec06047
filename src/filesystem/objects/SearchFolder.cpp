#include "filesystem/objects/SearchFolder.h"

#include "filesystem/objects/FileManager.h"
#include "filesystem/walk/PathAsWritten.h"

namespace qrt {

Result<std::string> resolvedSearchFolder(FileSystem& files, const std::string& path) {
  if (path.empty()) return posixError(PosixCode::invalidArgument);
  if (const auto code = slashRefusal(files, path); code != PosixCode::success) {
    return posixError(code);
  }
  auto resolved = files.resolvedPath(path);
  if (!resolved) {
    return posixError(isExhaustion(resolved.error()) ? resolved.error() : PosixCode::noEntry);
  }
  bool isFolder = false;
  if (!FileManager::fileExistsAtPath(files, *resolved, &isFolder)) {
    return posixError(PosixCode::noEntry);
  }
  if (!isFolder) return posixError(PosixCode::notDirectory);
  return std::move(*resolved);
}

}  // namespace qrt
