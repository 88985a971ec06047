#include "filesystem/objects/PathAsWritten.h"

#include "base/Text.h"
#include "filesystem/objects/FileManager.h"

namespace qrt {

PosixCode slashRefusal(FileSystem& files, const std::string& path) {
  if (!path.ends_with('/') || holdsZeroByte(path)) return PosixCode::success;
  const auto status = files.status(path.c_str(), Links::follow);
  const bool isRefused = !status && status.error() == PosixCode::notDirectory;
  return isRefused ? PosixCode::notDirectory : PosixCode::success;
}

PosixCode removalRefusal(FileSystem& files, const Location& location, const std::string& path) {
  // The system's own answer, which is always a refusal.
  if (location.isItself()) return files.removeFolder(path.c_str());
  if (!location.meansFolder) return PosixCode::success;
  const auto written = files.status(path.c_str(), Links::stay);
  if (!written) return written.error();
  const auto status = files.status(location.at(), Links::stay);
  return status && status->isLink() ? PosixCode::notDirectory : PosixCode::success;
}

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
