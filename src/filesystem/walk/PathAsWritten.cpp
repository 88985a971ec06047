#include "filesystem/walk/PathAsWritten.h"

#include "base/Path.h"

namespace qrt {

PosixCode slashRefusal(FileSystem& files, const std::string& path) {
  if (!path.ends_with('/') || path::holdsZeroByte(path)) return PosixCode::success;
  const auto status = files.status(path.c_str(), Links::follow);
  const bool isRefused = !status && status.error() == PosixCode::notDirectory;
  return isRefused ? PosixCode::notDirectory : PosixCode::success;
}

PosixCode removalRefusal(FileSystem& files, const Location& location, const std::string& path) {
  // The call itself says why it cannot be done.
  if (location.isItself()) return files.removeFolder(path.c_str());
  if (!location.meansFolder) return PosixCode::success;
  const auto written = files.status(path.c_str(), Links::stay);
  if (!written) return written.error();
  const auto status = files.status(location.at(), Links::stay);
  return status && status->isLink() ? PosixCode::notDirectory : PosixCode::success;
}

}  // namespace qrt
